#include "query/selectiontext.h"

#include <limits>

namespace NS_LOG_READER {
namespace {

std::string Describe(const std::string& text) {
    return text.empty() ? "\"\"" : text;
}

std::string Describe(int64_t number) {
    return std::to_string(number);
}

std::string Describe(const std::pair<int, int>& levels) {
    const bool isOne = levels.first == levels.second;
    return std::to_string(levels.first) + (isOne ? "" : ".." + std::to_string(levels.second));
}

std::string Describe(const std::pair<uint32_t, uint32_t>& numbers) {
    const auto [first, last] = numbers;
    const bool isOne = first == last;
    const bool hasEnd = !isOne && last != std::numeric_limits<uint32_t>::max();
    return std::to_string(first) + (isOne ? "" : "..") + (hasEnd ? std::to_string(last) : "");
}

std::string Describe(const std::pair<std::string, std::optional<uint32_t>>& source) {
    return source.first + (source.second ? ":" + std::to_string(*source.second) : "");
}

// Puts the conditions one after the other.
class Words {
  public:
    void Add(const std::string& condition) { text_ += (text_.empty() ? "" : "; ") + condition; }

    // One of which any value may hold.
    template <class Value>
    void AddAny(const char* name, const std::vector<Value>& values) {
        std::string condition;
        for (const Value& value : values) {
            condition += (condition.empty() ? name + std::string(" ") : " or ") + Describe(value);
        }
        if (!condition.empty()) {
            Add(condition);
        }
    }

    const std::string& Text() const { return text_; }

  private:
    std::string text_;
};

}  // namespace

std::string DescribeSelection(const Selection& selection) {
    Words words;
    if (selection.since) {
        words.Add("since " + FormatLocalStamp(*selection.since));
    }
    if (selection.until) {
        words.Add("until " + FormatLocalStamp(*selection.until));
    }
    words.AddAny("host", selection.hosts);
    words.AddAny("category", selection.categories);
    words.AddAny("process", selection.processes);
    words.AddAny("level", selection.levels);
    words.AddAny("operation", selection.operations);
    words.AddAny("interface", selection.interfaces);
    words.AddAny("user", selection.users);
    words.AddAny("thread", selection.threads);
    words.AddAny("source", selection.sources);
    words.AddAny("function", selection.functions);
    words.AddAny("number", selection.numbers);
    if (!selection.pattern.empty()) {
        const std::string kind = selection.isFixed ? "text " : "pattern ";
        words.Add((selection.invert ? "not " : "") + kind + selection.pattern);
    }
    return words.Text().empty() ? "everything" : words.Text();
}

}  // namespace NS_LOG_READER
