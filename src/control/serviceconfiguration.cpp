#include "control/serviceconfiguration.h"

#include <string>

#include "diagnostic/diagnostic.h"

namespace NS_LOG_SERVICE1 {

using NS_BUNDLEMGR1::CorbaConfigItems;

namespace {

struct NumberItem {
    const char* name;
    RelaxedAtomic<uint32_t> LogSettings::*field;
    uint32_t fallback;
    const char* report;
};

// In the order of their reading. The channels are created behind these four, with these sizes.
const NumberItem kChannelItems[] = {
    {"logfilesize", &LogSettings::logfilesize, kDefaultLogFileSize,
     "\nGet Config Item(logfilesize) failed !!\n"},
    {"logfilecount", &LogSettings::logfilecount, 100,
     "\nGet Config Item(logfilecount) failed !!\n"},
    {"queuebuflength", &LogSettings::queuebuflength, 16384,
     "\nGet Config Item(queuebuflength) failed !!\n"},
    {"filterbuflength", &LogSettings::filterbuflength, 128,
     "\nGet Config Item(filterbuflength) failed !!\n"},
};

const NumberItem kIntervalItem = {"logtimeinterval", &LogSettings::logtimeinterval, 1,
                                  "\nGet Config Item(logtimeinterval) failed !!\n"};

// Both reports name another item than the one that is missing. The texts are part of the contract
// with those who read the diagnostics; see docs/compatibility.md.
const NumberItem kFlagItems[] = {
    {"bEnableAsnLog", &LogSettings::bEnableAsnLog, 1, "\nGet Config Item(outputmode) failed !!\n"},
    {"bLogOutputPara", &LogSettings::bLogOutputPara, 0,
     "\nGet Config Item(LogOutputPara) failed !!\n"},
};

// The number may be negative: the field then holds it modulo 2^32.
void ReadNumber(CorbaConfigItems& items, const NumberItem& item, LogSettings& settings) {
    int value = 0;
    if (items.GetIntItemInfo(item.name, value)) {
        settings.*item.field = static_cast<uint32_t>(value);
        return;
    }
    Diagnostic().Print(kDiagnosticFailure, item.report);
    settings.*item.field = item.fallback;
}

// The value is four switches with one character between each two, which is not looked at. A value
// that is too short leaves the levels that it does not reach on.
LevelSwitches ParseLevelSwitches(const std::string& value) {
    LevelSwitches switches;
    for (size_t level = 0; level < switches.size(); ++level) {
        const size_t position = 2 * level;
        switches[level] = position >= value.size() || value[position] != '0';
    }
    return switches;
}

void ReadLevelSwitches(CorbaConfigItems& items, LogSettings& settings) {
    std::string value;
    settings.levelSwitches = items.GetStrItemInfo("logswitch", value) ? ParseLevelSwitches(value)
                                                                      : LevelSwitches().set();
}

// Mode 1 leaves the mode and the task as the manager was made, which is direct output with no
// usable task; the other ways say so outright.
void ReadOutputMode(CorbaConfigItems& items, LogSettings& settings) {
    int mode = 0;
    const bool read = items.GetIntItemInfo("outputmode", mode);
    if (read && static_cast<uint32_t>(mode) == kQueuedOutput) {
        return;
    }
    if (!read) {
        Diagnostic().Print(kDiagnosticFailure, "\nGet Config Item(outputmode) failed !!\n");
    } else if (static_cast<uint32_t>(mode) != kDirectOutput) {
        Diagnostic().Print(kDiagnosticFailure,
                           "\nlog output mode value : %d, it is meaningless !!\n", mode);
    }
    settings.outputTask = kNoOutputTask;
    settings.outputmode = kDirectOutput;
}

}  // namespace

void LoadServiceConfiguration(CorbaConfigItems& items, LogMgr& manager) {
    for (const NumberItem& item : kChannelItems) {
        ReadNumber(items, item, manager);
    }
    manager.CreateChannels();
    ReadNumber(items, kIntervalItem, manager);
    ReadLevelSwitches(items, manager);
    ReadOutputMode(items, manager);
    for (const NumberItem& item : kFlagItems) {
        ReadNumber(items, item, manager);
    }
}

}  // namespace NS_LOG_SERVICE1
