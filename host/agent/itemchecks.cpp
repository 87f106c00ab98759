// What the items of the configuration mean to those who read them, and what is wrong with them.
#include "agent/itemchecks.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bitset>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <system_error>

#include "bundlemgr/logsupport.h"
#include "platform/configfile.h"
#include "util/selfutilcommon.h"

namespace NS_REFERENCE_HOST {

namespace {

enum class Kind {
    Number,    // 0 and more
    Positive,  // 1 and more
    Switch,    // 0 or 1, and any change of the file needs it
    Flag,      // 0 or 1
    Mode       // 0 or 1; anything else is 0
};

struct NumberItem {
    const char* name;
    int fallback;
    Kind kind;
};

constexpr NumberItem kNumberItems[] = {
    {"logfilesize", 4194304, Kind::Positive},  {"logfilecount", 100, Kind::Number},
    {"queuebuflength", 16384, Kind::Positive}, {"filterbuflength", 128, Kind::Number},
    {"logtimeinterval", 1, Kind::Number},      {"outputmode", 0, Kind::Mode},
    {"bEnableAsnLog", 1, Kind::Switch},        {"bLogOutputPara", 0, Kind::Switch},
    {"bEnableAsnTrace", 0, Kind::Flag}};

constexpr char kNeededForChanges[] =
    "is missing: while it is, no change of the file takes effect before the next start";

const NumberItem* FindNumberItem(const std::string& name) {
    const auto* const found =
        std::find_if(std::begin(kNumberItems), std::end(kNumberItems),
                     [&name](const NumberItem& item) { return item.name == name; });
    return found == std::end(kNumberItems) ? nullptr : found;
}

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// A number of the kind that `item` wants has no warning.
void CheckRange(const NumberItem& item, int number, ItemInForce& result) {
    if (item.kind == Kind::Number || item.kind == Kind::Positive) {
        if (number < 0) {
            result.value = std::to_string(static_cast<uint32_t>(number));
            result.warnings.push_back(Quoted(std::to_string(number)) + " is read as " +
                                      result.value);
        } else if (number == 0 && item.kind == Kind::Positive) {
            result.warnings.push_back(item.name == std::string("logfilesize")
                                          ? "0 begins a new file for each record"
                                          : "0 has each record written as if the queue were full");
        }
    } else if (number != 0 && number != 1) {
        const bool isMode = item.kind == Kind::Mode;
        result.value = isMode ? "0" : std::to_string(static_cast<uint32_t>(number));
        result.warnings.push_back(Quoted(std::to_string(number)) +
                                  " is neither 0 nor 1: " + result.value + " is in force");
    }
}

std::string Join(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : ",") + part;
    }
    return text;
}

// At the start, the characters at the positions 0, 2, 4 and 6 count: '0' is off.
std::vector<std::string> LevelsAtStart(const std::string& value) {
    std::vector<std::string> levels;
    for (size_t position = 0; position < 8; position += 2) {
        levels.emplace_back(position < value.size() && value[position] == '0' ? "0" : "1");
    }
    return levels;
}

// When the file changes, the numbers between the commas count; what is neither 0 nor 1 changes
// nothing. Returns nothing when there are not four.
std::optional<std::vector<std::string>> LevelsAfterChange(const std::string& value,
                                                          const std::vector<std::string>& before) {
    std::vector<std::string> parts;
    NS_UTIL::SplitStringByTag(NS_UTIL::Trim(value), parts, ',', std::bitset<16>());
    if (parts.size() != before.size()) {
        return std::nullopt;
    }
    for (size_t level = 0; level < parts.size(); ++level) {
        const auto number = static_cast<int32_t>(std::strtol(parts[level].c_str(), nullptr, 10));
        parts[level] = number == 0 || number == 1 ? std::to_string(number) : before[level];
    }
    return parts;
}

bool IsPlainLogSwitch(const std::string& value) {
    const auto isRight = [&value](size_t position) {
        const char c = value[position];
        return position % 2 == 1 ? c == ',' : c == '0' || c == '1';
    };
    return value.size() == 7 && isRight(0) && isRight(1) && isRight(2) && isRight(3) &&
           isRight(4) && isRight(5) && isRight(6);
}

std::string SystemText(int error) {
    return std::generic_category().message(error);
}

// The nearest directory above `path` that is there, and how many below it are missing.
std::string NearestDirectory(std::string path, int& missing) {
    struct stat status {};
    while (stat(path.c_str(), &status) != 0 && errno == ENOENT && path != "/" && path != ".") {
        path = NS_BUNDLEMGR1::GetParentPath(path);
        ++missing;
    }
    return path;
}

}  // namespace

std::vector<std::string> NumberItems() {
    std::vector<std::string> names;
    for (const NumberItem& item : kNumberItems) {
        names.emplace_back(item.name);
    }
    return names;
}

ItemInForce CheckNumber(const std::string& name, const std::optional<std::string>& text) {
    const NumberItem* const found = FindNumberItem(name);
    if (found == nullptr) {
        return {};
    }
    const NumberItem& item = *found;
    ItemInForce result{std::to_string(item.fallback), {}};
    int number = 0;
    if (!text) {
        if (item.kind == Kind::Switch) {
            result.warnings.emplace_back(kNeededForChanges);
        }
    } else if (!ParseWholeNumber(*text, number)) {
        result.warnings.push_back(Quoted(*text) + " is no number: " + result.value +
                                  " is in force");
    } else {
        result.value = std::to_string(number);
        CheckRange(item, number, result);
    }
    return result;
}

ItemInForce CheckLogSwitch(const std::optional<std::string>& text) {
    if (!text) {
        return {"1,1,1,1", {kNeededForChanges}};
    }
    const std::vector<std::string> levels = LevelsAtStart(*text);
    ItemInForce result{Join(levels), {}};
    if (IsPlainLogSwitch(*text)) {
        return result;
    }
    const auto later = LevelsAfterChange(*text, levels);
    result.warnings.push_back(Quoted(*text) + " is not of the form 1,1,0,0: it means " +
                              result.value + " at the start, and " +
                              (later ? Join(*later) : "that nothing is applied") +
                              " when the file changes");
    return result;
}

ItemInForce CheckLogPath(const std::optional<std::string>& text, const std::string& share) {
    constexpr int kMadeByTheService = 3;
    const bool isGiven = text && !text->empty();
    ItemInForce result{isGiven ? *text : share + "/log", {}};
    NS_UTIL::PathFormat(result.value);
    if (isGiven && result.value.front() != '/') {
        result.warnings.emplace_back("is relative to the directory in which the agent is started");
    }
    int missing = 0;
    const std::string nearest = NearestDirectory(result.value, missing);
    struct stat status {};
    if (stat(nearest.c_str(), &status) != 0) {
        result.warnings.push_back(nearest + ": " + SystemText(errno));
    } else if (!S_ISDIR(status.st_mode)) {
        result.warnings.push_back(nearest + ": " + SystemText(ENOTDIR));
    } else if (faccessat(AT_FDCWD, nearest.c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
        result.warnings.push_back(nearest + " cannot be written to: " + SystemText(errno));
    } else if (missing > kMadeByTheService) {
        result.warnings.push_back("only " + nearest +
                                  " exists, and no more than three directories are made");
    }
    return result;
}

}  // namespace NS_REFERENCE_HOST
