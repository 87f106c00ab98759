// Which records are wanted.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "format/record.h"
#include "input/literalfinder.h"
#include "input/series.h"
#include "query/pattern.h"

namespace NS_LOG_READER {

// What was asked for. A record is wanted when every condition that was given holds; of the values
// of one condition, any may. In texts "*" stands for anything.
struct Selection {
    std::optional<Time> since;
    std::optional<Time> until;  // not included
    bool trustsOrder = true;    // files are sorted by time: what is out of range is not read
    std::vector<std::string> categories;
    std::vector<int64_t> processes;
    std::vector<std::string> hosts;
    std::vector<std::pair<int, int>> levels;  // from, to
    std::vector<std::string> operations;
    std::vector<std::string> interfaces;
    std::vector<std::string> users;
    std::vector<std::string> functions;
    std::vector<int64_t> threads;
    std::vector<std::pair<std::string, std::optional<uint32_t>>> sources;
    std::vector<std::pair<uint32_t, uint32_t>> numbers;
    std::string pattern;
    bool isFixed = false;
    bool invert = false;  // what the pattern does not match

    // Whether anything but time, category and process was asked for.
    bool HasRecordConditions() const;

    bool Wants(const Series& series) const;
};

// Whether `text` fits `pattern`, in which "*" stands for anything.
bool FitsWildcards(std::string_view text, std::string_view pattern);

// Reads "0", "0..2", "0,3", "short" or "asn". Throws BadRequest.
std::vector<std::pair<int, int>> ParseLevels(const std::string& text);
// Reads "17", "17..", "..17" or "17..20". Throws BadRequest.
std::pair<uint32_t, uint32_t> ParseNumbers(const std::string& text);
// Reads "ne.cpp" or "ne.cpp:88". Throws BadRequest.
std::pair<std::string, std::optional<uint32_t>> ParseSource(const std::string& text);

// Decides about single records.
//
// Thread safety: one thread.
class Matcher {
  public:
    // Throws BadRequest for a pattern that cannot be understood.
    explicit Matcher(Selection selection);

    // Wants the records of these operations and nothing else, whatever was selected.
    explicit Matcher(std::unordered_set<std::string> operations);

    bool Matches(const Record& record) const;

    // The first record of which it is not known whether the pattern matches, and why; empty: of all
    // records it is known.
    const std::string& Failure() const { return failure_; }

    // A text that stands in every record that matches; null: none is known.
    const LiteralFinder* Literal() const { return literal_.get(); }

    // The pattern that was asked for; null: none.
    const Pattern* SoughtPattern() const { return pattern_.get(); }
    const Selection& Wanted() const { return selection_; }

    // Null, or the operations whose records are wanted instead of a selection.
    const std::unordered_set<std::string>* Operations() const {
        return isStory_ ? &story_ : nullptr;
    }

  private:
    bool MatchesNumbers(const Record& record) const;
    bool MatchesTexts(const Record& record) const;
    bool MatchesPattern(const Record& record) const;
    void ChooseLiteral();

    Selection selection_;
    std::unordered_set<std::string> story_;
    bool isStory_ = false;
    bool matchesAll_ = false;  // nothing but category and process was asked for
    std::unique_ptr<Pattern> pattern_;
    std::unique_ptr<LiteralFinder> literal_;
    mutable std::string failure_;
};

}  // namespace NS_LOG_READER
