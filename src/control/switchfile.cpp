#include "control/switchfile.h"

#include <bitset>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "diagnostic/messages.h"
#include "manager/logmgr.h"
#include "util/selfutilcommon.h"

namespace NS_LOG_SERVICE1 {

using NS_BUNDLEMGR1::NameValueStru;

namespace {

struct SwitchItem {
    const char* key;
    const Diagnostic& missing;
};

// The items in the order in which they are looked for. The first one that is missing ends the
// search. The last report names its item differently: the texts are part of the contract with those
// who read the diagnostics; see docs/compatibility.md.
const SwitchItem kSwitchItems[] = {
    {"logswitch", kNoLogSwitchItem},
    {"bEnableAsnLog", kNoAsnLogItem},
    {"bLogOutputPara", kNoOutputParaItem},
};

struct FlagItem {
    uint32_t (LogMgr::*get)() const;
    void (LogMgr::*set)(const uint32_t&);
    const Diagnostic& invalid;
    const Diagnostic& changed;
};

const FlagItem kAsnLogFlag = {&LogMgr::GetEnableAsnLog, &LogMgr::SetEnableAsnLog, kAsnLogInvalid,
                              kAsnLogChanged};

const FlagItem kOutputParaFlag = {&LogMgr::GetEnableOutputPara, &LogMgr::SetEnableOutputPara,
                                  kOutputParaInvalid, kOutputParaChanged};

// Converts the leading digits, ignores what follows them and keeps the low 32 bits.
int32_t ToNumber(const std::string& text) {
    return static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

// Returns the trimmed values of all items, or nothing when one is missing. All are found before the
// first one is trimmed.
std::vector<std::string> ReadSwitchItems() {
    std::vector<NameValueStru> items;
    NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
    std::vector<std::string> values;
    for (const SwitchItem& item : kSwitchItems) {
        std::string value;
        if (!NS_BUNDLEMGR1::GetValByKey(value, item.key, items)) {
            item.missing.Report();
            return {};
        }
        values.push_back(std::move(value));
    }
    for (std::string& value : values) {
        value = NS_UTIL::Trim(value);
    }
    return values;
}

// Returns the switch of each level, or nothing when the value is invalid.
std::vector<std::string> SplitLevels(const std::string& value) {
    std::vector<std::string> parts;
    if (!NS_UTIL::SplitStringByTag(value, parts, ',', std::bitset<16>())) {
        kLogSwitchNotSplit.Report(value.c_str());
        return {};
    }
    if (parts.size() != LOG_LEVEL_COUNT) {
        kLogSwitchInvalid.Report();
        return {};
    }
    return parts;
}

// Changes the global switch before the loggers; it stays changed when a logger refuses. Returns the
// report for the level, empty when nothing was to change.
std::string ApplyLevel(LogMgr& manager, uint32_t level, int32_t value) {
    if (value == static_cast<int32_t>(manager.IsLogLevelEnabled(level))) {
        return std::string();
    }
    const std::string name = "LogLevel_" + std::to_string(level);
    if (value != 0 && value != 1) {
        return name + " undefined value.";
    }
    manager.SwitchLevel(level, value == 1);
    return name + (value == 1 ? " open " : " close ");
}

void ApplyLevels(LogMgr& manager, const std::vector<std::string>& parts) {
    std::string report;
    for (uint32_t level = 0; level < parts.size(); ++level) {
        report += ApplyLevel(manager, level, ToNumber(parts[level]));
    }
    if (!report.empty()) {
        kLevelsChanged.Report(report.c_str());
    }
}

void ApplyFlag(LogMgr& manager, const FlagItem& flag, int32_t value) {
    if (value != 0 && value != 1) {
        flag.invalid.Report(value);
        return;
    }
    const auto wanted = static_cast<uint32_t>(value);
    if (wanted != (manager.*flag.get)()) {
        (manager.*flag.set)(wanted);
        flag.changed.Report(value);
    }
}

}  // namespace

void ApplySwitchFile() {
    const std::vector<std::string> values = ReadSwitchItems();
    if (values.empty()) {
        return;
    }
    const std::vector<std::string> levels = SplitLevels(values[0]);
    if (levels.empty()) {
        return;
    }
    LogMgr* manager = LogMgr::Instance();
    if (manager == nullptr) {
        kNoLogManager.Report();
        return;
    }
    ApplyLevels(*manager, levels);
    ApplyFlag(*manager, kAsnLogFlag, ToNumber(values[1]));
    ApplyFlag(*manager, kOutputParaFlag, ToNumber(values[2]));
}

}  // namespace NS_LOG_SERVICE1
