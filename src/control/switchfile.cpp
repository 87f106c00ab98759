#include "control/switchfile.h"

#include <bitset>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "bundlemgr/corbaconfigitems.h"
#include "manager/logmgr.h"
#include "util/selfutilcommon.h"

namespace NS_LOG_SERVICE1 {

using NS_BUNDLEMGR1::NameValueStru;

namespace {

struct SwitchItem {
    const char* key;
    const char* missing;
};

// The items in the order in which they are looked for. The first one that is missing ends the
// search. The last report names its item differently: the texts are part of the contract with those
// who read the diagnostics; see docs/compatibility.md.
const SwitchItem kSwitchItems[] = {
    {"logswitch", "[LogSwitchMonitorMgr::Check] call GetValByKey, get logswitch Info error.\n"},
    {"bEnableAsnLog",
     "[LogSwitchMonitorMgr::Check] call GetValByKey, get bEnableAsnLog Info error.\n"},
    {"bLogOutputPara",
     "[LogSwitchMonitorMgr::Check] call GetValByKey, get strEnableOutputPara Info error.\n"},
};

struct FlagItem {
    uint32_t (LogMgr::*get)() const;
    void (LogMgr::*set)(const uint32_t&);
    const char* invalid;
    const char* changed;
};

const FlagItem kAsnLogFlag = {&LogMgr::GetEnableAsnLog, &LogMgr::SetEnableAsnLog,
                              "[LogSwitchMonitorMgr::Check] bEnableAsnLog<%d> is invalid.\n",
                              "[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = %d \n"};

const FlagItem kOutputParaFlag = {
    &LogMgr::GetEnableOutputPara, &LogMgr::SetEnableOutputPara,
    "[LogSwitchMonitorMgr::Check] bEnableOutputPara<%d> is invalid.\n",
    "[LogSwitchMonitorMgr::Check] end change bEnableOutputPara = %d \n"};

// The leading digits; what follows them is not looked at, and 32 bits are kept.
int32_t ToNumber(const std::string& text) {
    return static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10));
}

// The trimmed values of all items, or none when one is missing.
std::vector<std::string> ReadSwitchItems() {
    std::vector<NameValueStru> items;
    NS_BUNDLEMGR1::CorbaConfigItems::Instance()->GetCorbaConfigItems(items);
    std::vector<std::string> values;
    for (const SwitchItem& item : kSwitchItems) {
        std::string value;
        if (!NS_BUNDLEMGR1::GetValByKey(value, item.key, items)) {
            MonitorDiagnostic().Print(kDiagnosticFailure, item.missing);
            return {};
        }
        values.push_back(NS_UTIL::Trim(value));
    }
    return values;
}

// The switch of each level, or none when the value is not to be used.
std::vector<std::string> SplitLevels(const std::string& value) {
    std::vector<std::string> parts;
    if (!NS_UTIL::SplitStringByTag(value, parts, ',', std::bitset<16>())) {
        MonitorDiagnostic().Print(kDiagnosticFailure,
                                  "[LogSwitchMonitorMgr::Check] Call SplitStringByTag<%s> failed\n",
                                  value.c_str());
        return {};
    }
    if (parts.size() != LOG_LEVEL_COUNT) {
        MonitorDiagnostic().Print(kDiagnosticFailure,
                                  "[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n");
        return {};
    }
    return parts;
}

// The global switch changes before the loggers do, and stays changed where a logger refuses.
// Returns what there is to report of the level, empty when it stands as it should.
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
        MonitorDiagnostic().Print(kDiagnosticFailure, "[LogSwitchMonitorMgr::Check] %s\n",
                                  report.c_str());
    }
}

void ApplyFlag(LogMgr& manager, const FlagItem& flag, int32_t value) {
    if (value != 0 && value != 1) {
        MonitorDiagnostic().Print(kDiagnosticFailure, flag.invalid, value);
        return;
    }
    const auto wanted = static_cast<uint32_t>(value);
    if (wanted != (manager.*flag.get)()) {
        (manager.*flag.set)(wanted);
        MonitorDiagnostic().Print(kDiagnosticFailure, flag.changed, value);
    }
}

NS_BUNDLEMGR1::LogProxy* MonitorLogProxy() {
    static LogProxyCache cache;
    return cache.Get();
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
        MonitorDiagnostic().Print(kDiagnosticFailure,
                                  "[LogSwitchMonitorMgr::Check] get LogMgr::Instance is NULL.\n");
        return;
    }
    ApplyLevels(*manager, levels);
    ApplyFlag(*manager, kAsnLogFlag, ToNumber(values[1]));
    ApplyFlag(*manager, kOutputParaFlag, ToNumber(values[2]));
}

Diagnostic MonitorDiagnostic(int line) {
    return Diagnostic("logswitchmonitormgr", &MonitorLogProxy, line);
}

}  // namespace NS_LOG_SERVICE1
