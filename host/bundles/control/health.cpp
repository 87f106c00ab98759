// Whether the channels can keep what they are given.
#include "control/health.h"

#include <algorithm>
#include <string>
#include <system_error>

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::ChannelBooks;

struct Problem {
    Health health;
    std::string category;
    std::string text;
};

std::string LastError(const ChannelBooks& books) {
    if (books.lastError == 0) {
        return std::string();
    }
    const std::string file = books.lastErrorFile.empty() ? "" : books.lastErrorFile + ": ";
    return " (last error: " + file + std::generic_category().message(books.lastError) + ")";
}

void FindProblems(const ChannelBooks& books, std::vector<Problem>& problems) {
    const auto add = [&](Health health, const std::string& text) {
        problems.push_back({health, books.category, text});
    };
    if (books.failing) {
        add(Health::Critical, "cannot be written" + LastError(books));
    }
    if (books.recordsDropped > 0) {
        add(Health::Warning,
            std::to_string(books.recordsDropped) + " records were dropped" + LastError(books));
    } else if (books.failures > 0 && !books.failing) {
        add(Health::Warning, "a file failed, without loss" + LastError(books));
    }
    if (books.recordsOverwritten > 0) {
        add(Health::Warning, std::to_string(books.recordsOverwritten) +
                                 " records were lost when their file was emptied");
    }
    if (!books.currentFileInPlace) {
        add(Health::Warning, books.currentFile + " was moved or removed while it is written");
    }
}

}  // namespace

Json::Value JudgeHealth(const std::vector<ChannelBooks>& books) {
    std::vector<Problem> problems;
    for (const ChannelBooks& channel : books) {
        FindProblems(channel, problems);
    }
    std::stable_sort(
        problems.begin(), problems.end(),
        [](const Problem& left, const Problem& right) { return left.health > right.health; });
    Json::Value data;
    data["health"] = static_cast<int>(problems.empty() ? Health::Good : problems.front().health);
    data["problems"] = Json::arrayValue;
    for (const Problem& problem : problems) {
        Json::Value value;
        value["health"] = static_cast<int>(problem.health);
        value["category"] = problem.category;
        value["text"] = problem.text;
        data["problems"].append(value);
    }
    return data;
}

}  // namespace NS_REFERENCE_HOST
