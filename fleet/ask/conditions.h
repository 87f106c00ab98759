// What of a selection a store can decide by its columns.
#pragma once

#include <string>
#include <vector>

#include "query/selection.h"
#include "store/connection.h"

namespace NS_LOG_FLEET {

// Conditions of a statement on the rows `r` of qv.record, with their parameters. Every record that
// the matcher wants fulfils them; the matcher itself has the last word, since columns hold texts
// that were cut, and some conditions are not worth the store's time.
//
// A value.
class Conditions {
  public:
    Conditions() = default;
    explicit Conditions(const NS_LOG_READER::Matcher& matcher);

    // "a AND b ..."; empty: nothing is known. The parameters' numbers begin behind `before`.
    std::string Text(size_t before) const;
    const std::vector<Parameter>& Parameters() const { return parameters_; }

    bool IsEmpty() const { return parts_.empty(); }

    // An index leads to the rows, so that the files that hold some are found first.
    bool IsIndexed() const { return isIndexed_; }

  private:
    // A condition, with '?' for each of the values.
    void Add(const std::string& text, const std::vector<std::string>& values);
    void AddTimes(const NS_LOG_READER::Selection& wanted);
    void AddNumbers(const NS_LOG_READER::Selection& wanted);
    void AddTexts(const char* column, const std::vector<std::string>& values);
    void AddSources(const NS_LOG_READER::Selection& wanted);
    void AddLiteral(const NS_LOG_READER::Pattern& pattern);

    std::vector<std::string> parts_;
    std::vector<Parameter> parameters_;
    bool isIndexed_ = false;
};

}  // namespace NS_LOG_FLEET
