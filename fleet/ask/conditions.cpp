#include "ask/conditions.h"

#include <algorithm>

#include "store/columntext.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::kMicrosPerSecond;
using NS_LOG_READER::Matcher;
using NS_LOG_READER::Pattern;
using NS_LOG_READER::Selection;
using NS_LOG_READER::Time;

// Longer lists are left to the matcher.
constexpr size_t kMostValues = 1000;

// Times beyond are kept as the last ones that the store's calendar holds.
constexpr Time kFirstPlainTime = 0;
constexpr Time kLastPlainTime = Time{84000} * 86400 * kMicrosPerSecond;

// A text that is as long may have been cut.
constexpr size_t kSurelyWhole = kLongestColumnText - 4;

bool IsPlainTime(Time time) {
    return time > kFirstPlainTime && time < kLastPlainTime;
}

// "*" as LIKE has it.
std::string LikePattern(const std::string& value) {
    std::string pattern;
    for (const char character : value) {
        if (character == '%' || character == '_' || character == '\\') {
            pattern += '\\';
        }
        pattern += character == '*' ? '%' : character;
    }
    return pattern;
}

bool IsPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char character) {
        return character >= ' ' && character <= '~' && character != '\\' && character != '*';
    });
}

std::string Join(const std::vector<std::string>& parts, const char* between) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : between) + part;
    }
    return text;
}

}  // namespace

Conditions::Conditions(const Matcher& matcher) {
    if (const auto* const operations = matcher.Operations()) {
        AddTexts("r.operation", {operations->begin(), operations->end()});
        isIndexed_ = !parts_.empty();
        return;
    }
    const Selection& wanted = matcher.Wanted();
    AddTimes(wanted);
    AddNumbers(wanted);
    AddTexts("r.operation", wanted.operations);
    isIndexed_ = isIndexed_ || (!wanted.operations.empty() && !parts_.empty());
    AddTexts("r.interface", wanted.interfaces);
    AddTexts("r.user_name", wanted.users);
    AddTexts("r.function", wanted.functions);
    AddSources(wanted);
    if (matcher.SoughtPattern() != nullptr && !wanted.invert) {
        AddLiteral(*matcher.SoughtPattern());
    }
}

std::string Conditions::Text(size_t before) const {
    std::string text;
    size_t number = before;
    for (const char character : Join(parts_, " AND ")) {
        if (character == '?') {
            text += "$" + std::to_string(++number);
        } else {
            text += character;
        }
    }
    return text;
}

void Conditions::Add(const std::string& text, const std::vector<std::string>& values) {
    parts_.push_back("(" + text + ")");
    parameters_.insert(parameters_.end(), values.begin(), values.end());
}

// The day leads to the partition, the time to the rows in it.
void Conditions::AddTimes(const Selection& wanted) {
    const auto add = [&](const std::optional<Time>& time, const char* dayIs, const char* timeIs) {
        if (time && IsPlainTime(*time)) {
            Add("r.day " + std::string(dayIs) + " date '1970-01-01' + ?::integer",
                {std::to_string(*time / kMicrosPerSecond / 86400)});
            Add("r.time " + std::string(timeIs) +
                    " timestamptz 'epoch' + ?::bigint * interval '1 microsecond'",
                {std::to_string(*time)});
            isIndexed_ = true;
        }
    };
    add(wanted.since, ">=", ">=");
    add(wanted.until, "<=", "<");
}

void Conditions::AddNumbers(const Selection& wanted) {
    const auto add = [&](const char* column, const auto& ranges) {
        std::vector<std::string> parts;
        std::vector<std::string> values;
        for (const auto& [from, to] : ranges) {
            parts.push_back(std::string(column) + " BETWEEN ?::bigint AND ?::bigint");
            values.push_back(std::to_string(from));
            values.push_back(std::to_string(to));
        }
        if (!parts.empty() && parts.size() <= kMostValues) {
            Add(Join(parts, " OR "), values);
        }
    };
    std::vector<std::pair<int64_t, int64_t>> threads;
    for (const int64_t thread : wanted.threads) {
        threads.emplace_back(thread, thread);
    }
    add("r.level", wanted.levels);
    add("r.number", wanted.numbers);
    add("r.thread", threads);
    const bool wantsErrors = wanted.levels.size() == 1 && wanted.levels.front().first == 0 &&
                             wanted.levels.front().second == 0;
    if (wantsErrors) {
        Add("r.level = 0", {});
        isIndexed_ = true;
    }
}

void Conditions::AddTexts(const char* column, const std::vector<std::string>& values) {
    std::vector<std::string> parts;
    std::vector<std::string> parameters;
    for (const std::string& value : values) {
        const bool hasStars = value.find('*') != std::string::npos;
        if (hasStars && (ColumnText(value) != value || value.size() > kSurelyWhole)) {
            return;
        }
        parts.push_back(hasStars ? std::string(column) + " LIKE ?" : "?");
        parameters.push_back(hasStars ? LikePattern(value) : ColumnText(value));
    }
    if (parts.empty() || parts.size() > kMostValues) {
        return;
    }
    std::vector<std::string> choices;
    std::vector<std::string> plain;
    std::vector<std::string> ordered;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i] == "?") {
            plain.push_back(parts[i]);
            ordered.push_back(parameters[i]);
        }
    }
    if (!plain.empty()) {
        choices.push_back(std::string(column) + " IN (" + Join(plain, ", ") + ")");
    }
    for (size_t i = 0; i < parts.size(); ++i) {
        if (parts[i] != "?") {
            choices.push_back(parts[i]);
            ordered.push_back(parameters[i]);
        }
    }
    if (choices.size() > (plain.empty() ? 0U : 1U)) {
        choices.push_back("octet_length(" + std::string(column) + ") > " +
                          std::to_string(kSurelyWhole));
    }
    Add(Join(choices, " OR "), ordered);
}

// A source's name counts without its directory, which the column has: only lines are asked for.
void Conditions::AddSources(const Selection& wanted) {
    std::vector<std::string> parts;
    std::vector<std::string> values;
    for (const auto& [file, line] : wanted.sources) {
        if (!line) {
            return;
        }
        parts.emplace_back("r.line = ?::bigint");
        values.push_back(std::to_string(*line));
    }
    if (!parts.empty() && parts.size() <= kMostValues) {
        Add(Join(parts, " OR "), values);
    }
}

// As qv.index_text makes its index for days that are over.
void Conditions::AddLiteral(const Pattern& pattern) {
    const std::string& text = pattern.Literal();
    if (text.size() >= 3 && IsPrintable(text)) {
        Add(std::string("encode(r.bytes, 'escape') ") +
                (pattern.IgnoresCase() ? "ILIKE ?" : "LIKE ?"),
            {"%" + LikePattern(text) + "%"});
    }
}

}  // namespace NS_LOG_FLEET
