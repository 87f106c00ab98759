#include "query/selection.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

template <class Number>
Number ParseNumber(std::string_view text, const char* what) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        throw BadRequest("'" + std::string(text) + "' is no " + what);
    }
    return number;
}

template <class Number>
bool IsInAny(Number value, const std::vector<std::pair<Number, Number>>& ranges) {
    return ranges.empty() || std::any_of(ranges.begin(), ranges.end(), [value](const auto& range) {
               return range.first <= value && value <= range.second;
           });
}

bool FitsAny(std::string_view text, const std::vector<std::string>& patterns) {
    return patterns.empty() ||
           std::any_of(patterns.begin(), patterns.end(),
                       [text](const auto& pattern) { return FitsWildcards(text, pattern); });
}

template <class Number>
bool IsAnyOf(Number value, const std::vector<Number>& values) {
    return values.empty() || std::find(values.begin(), values.end(), value) != values.end();
}

// A source file counts by its last name, whatever directory it was compiled in.
bool IsFrom(const Record& record, const std::pair<std::string, std::optional<uint32_t>>& source) {
    const std::string_view file = record.file;
    const bool isFile = FitsWildcards(file, source.first) ||
                        FitsWildcards(file.substr(file.rfind('/') + 1), source.first);
    return isFile && (!source.second || *source.second == record.line);
}

// Shorter texts stand everywhere.
constexpr size_t kShortestLiteral = 3;
constexpr size_t kLongLiteral = 8;

class LongestText {
  public:
    void Offer(const std::string& text) {
        if (text.size() > text_.size()) {
            text_ = text;
        }
    }

    // What stands between the stars of the only value, with what surrounds the value.
    void OfferParts(const std::vector<std::string>& values, const std::string& before,
                    const std::string& after) {
        if (values.size() != 1) {
            return;
        }
        const std::string text = before + values.front() + after;
        for (size_t begin = 0; begin < text.size();) {
            const size_t end = std::min(text.find('*', begin), text.size());
            Offer(text.substr(begin, end - begin));
            begin = end + 1;
        }
    }

    const std::string& Text() const { return text_; }

  private:
    std::string text_;
};

// Short records do not show their level.
bool IsOneLevel(const std::vector<std::pair<int, int>>& levels) {
    return levels.size() == 1 && levels.front().first == levels.front().second &&
           levels.front().first != kShortLevel;
}

template <class Number>
void CheckOrder(const std::pair<Number, Number>& range, const std::string& text) {
    if (range.first > range.second) {
        throw BadRequest("'" + text + "': nothing lies between these; write the smaller one first");
    }
}

constexpr int kHighestLevel = 3;

int ParseLevel(const std::string& text) {
    const int level = ParseNumber<int>(text, "level");
    if (level < kShortLevel || level > kHighestLevel) {
        throw BadRequest("'" + text + "' is no level: there are -2 to 3");
    }
    return level;
}

}  // namespace

bool Selection::HasRecordConditions() const {
    return !levels.empty() || !operations.empty() || !interfaces.empty() || !users.empty() ||
           !functions.empty() || !threads.empty() || !sources.empty() || !numbers.empty() ||
           !pattern.empty();
}

bool Selection::Wants(const Series& series) const {
    return FitsAny(series.category, categories) && IsAnyOf(series.process, processes) &&
           FitsAny(series.host, hosts);
}

bool FitsWildcards(std::string_view text, std::string_view pattern) {
    size_t at = 0;
    size_t place = 0;
    size_t star = std::string_view::npos;
    size_t retry = 0;
    while (at < text.size()) {
        if (place < pattern.size() && pattern[place] == '*') {
            star = place++;
            retry = at;
        } else if (place < pattern.size() && pattern[place] == text[at]) {
            ++place;
            ++at;
        } else if (star != std::string_view::npos) {
            place = star + 1;
            at = ++retry;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', place) == std::string_view::npos;
}

std::vector<std::pair<int, int>> ParseLevels(const std::string& text) {
    std::vector<std::pair<int, int>> levels;
    size_t begin = 0;
    while (begin <= text.size()) {
        const size_t end = std::min(text.find(',', begin), text.size());
        const std::string part = text.substr(begin, end - begin);
        const size_t dots = part.find("..");
        if (part == "short" || part == "asn") {
            levels.emplace_back(part == "asn" ? -1 : -2, part == "asn" ? -1 : -2);
        } else if (dots == std::string::npos) {
            const int level = ParseLevel(part);
            levels.emplace_back(level, level);
        } else {
            levels.emplace_back(ParseLevel(part.substr(0, dots)),
                                ParseLevel(part.substr(dots + 2)));
            CheckOrder(levels.back(), part);
        }
        begin = end + 1;
    }
    return levels;
}

std::pair<uint32_t, uint32_t> ParseNumbers(const std::string& text) {
    const size_t dots = text.find("..");
    if (dots == std::string::npos) {
        const auto number = ParseNumber<uint32_t>(text, "record number");
        return {number, number};
    }
    const std::string from = text.substr(0, dots);
    const std::string to = text.substr(dots + 2);
    const std::pair<uint32_t, uint32_t> range = {
        from.empty() ? 0 : ParseNumber<uint32_t>(from, "record number"),
        to.empty() ? std::numeric_limits<uint32_t>::max()
                   : ParseNumber<uint32_t>(to, "record number")};
    CheckOrder(range, text);
    return range;
}

std::pair<std::string, std::optional<uint32_t>> ParseSource(const std::string& text) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos) {
        return {text, std::nullopt};
    }
    return {text.substr(0, colon),
            ParseNumber<uint32_t>(std::string_view(text).substr(colon + 1), "source line")};
}

Matcher::Matcher(Selection selection) : selection_(std::move(selection)) {
    if (!selection_.pattern.empty()) {
        pattern_ = std::make_unique<Pattern>(selection_.pattern, selection_.isFixed);
    }
    ChooseLiteral();
    matchesAll_ = !selection_.HasRecordConditions() && !selection_.since && !selection_.until;
}

Matcher::Matcher(std::unordered_set<std::string> operations)
    : story_(std::move(operations)), isStory_(true) {
    if (story_.size() == 1) {
        literal_ = std::make_unique<LiteralFinder>(*story_.begin() + ",TopT:");
    }
}

// Of the texts that the conditions imply, the longest, which tends to be the rarest.
void Matcher::ChooseLiteral() {
    const Selection& wanted = selection_;
    LongestText best;
    best.OfferParts(wanted.users, ",UserMsg:", ", T:");
    best.OfferParts(wanted.interfaces, ",If:", ",UserMsg:");
    best.OfferParts(wanted.functions, " Func:", " Line:");
    best.OfferParts(wanted.operations, "", ",TopT:");
    if (wanted.threads.size() == 1) {
        best.Offer(", T:" + std::to_string(wanted.threads.front()) + ", DL:");
    }
    if (wanted.sources.size() == 1) {
        const auto& [file, line] = wanted.sources.front();
        best.OfferParts({file}, "", " Func:");
        best.Offer(line ? " Line:" + std::to_string(*line) + "\n" : "");
    }
    const bool hasPattern =
        pattern_ != nullptr && !wanted.invert && pattern_->Literal().size() >= kShortestLiteral;
    if (hasPattern && (best.Text().empty() || pattern_->Literal().size() >= kLongLiteral)) {
        literal_ = std::make_unique<LiteralFinder>(pattern_->Literal(), pattern_->IgnoresCase());
    } else if (IsOneLevel(wanted.levels) && best.Text().size() < 2 * kLongLiteral) {
        const std::string level = ", DL:" + std::to_string(wanted.levels.front().first);
        // All but the last digit stands in every header.
        literal_ = std::make_unique<LiteralFinder>(level + ", File: ", false, level.size() - 1);
    } else if (best.Text().size() >= kShortestLiteral) {
        literal_ = std::make_unique<LiteralFinder>(best.Text());
    }
}

bool Matcher::MatchesNumbers(const Record& record) const {
    const Selection& wanted = selection_;
    return IsInAny(static_cast<int>(record.level), wanted.levels) &&
           (wanted.numbers.empty() ||
            (record.kind != RecordKind::Short && IsInAny(record.number, wanted.numbers))) &&
           (!wanted.since || record.time >= *wanted.since) &&
           (!wanted.until || record.time < *wanted.until) &&
           (wanted.threads.empty() ||
            (record.kind != RecordKind::Short && IsAnyOf(record.thread, wanted.threads)));
}

bool Matcher::MatchesTexts(const Record& record) const {
    const Selection& wanted = selection_;
    if (record.kind == RecordKind::Short &&
        !(wanted.operations.empty() && wanted.interfaces.empty() && wanted.users.empty() &&
          wanted.functions.empty() && wanted.sources.empty())) {
        return false;
    }
    return FitsAny(record.operation, wanted.operations) &&
           FitsAny(record.interface, wanted.interfaces) && FitsAny(record.user, wanted.users) &&
           FitsAny(record.function, wanted.functions) &&
           (wanted.sources.empty() ||
            std::any_of(wanted.sources.begin(), wanted.sources.end(),
                        [&](const auto& source) { return IsFrom(record, source); }));
}

bool Matcher::MatchesPattern(const Record& record) const {
    const bool matches = pattern_->Matches(record.text);
    if (!matches && failure_.empty() && !pattern_->Failure().empty()) {
        const std::string path = record.origin == nullptr ? "" : record.origin->path + ": ";
        failure_ = path + "at byte " + std::to_string(record.offset) +
                   ": the search for the pattern was given up: " + pattern_->Failure();
    }
    return matches;
}

bool Matcher::Matches(const Record& record) const {
    if (matchesAll_) {
        return true;
    }
    if (isStory_) {
        return record.kind != RecordKind::Short && story_.count(std::string(record.operation)) != 0;
    }
    return MatchesNumbers(record) && MatchesTexts(record) &&
           (pattern_ == nullptr || MatchesPattern(record) != selection_.invert);
}

}  // namespace NS_LOG_READER
