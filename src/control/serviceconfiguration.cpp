#include "control/serviceconfiguration.h"

#include <string>

#include "diagnostic/messages.h"

namespace NS_LOG_SERVICE1 {

using NS_BUNDLEMGR1::CorbaConfigItems;

namespace {

struct NumberItem {
    const char* name;
    RelaxedAtomic<uint32_t> LogSettings::*field;
    uint32_t fallback;
    const Diagnostic& missing;
};

// In the order in which they are read. The channels are created with these four sizes.
const NumberItem kChannelItems[] = {
    {"logfilesize", &LogSettings::logfilesize, kDefaultLogFileSize, kNoLogFileSize},
    {"logfilecount", &LogSettings::logfilecount, 100, kNoLogFileCount},
    {"queuebuflength", &LogSettings::queuebuflength, 16384, kNoQueueLength},
    {"filterbuflength", &LogSettings::filterbuflength, 128, kNoFilterLength},
};

const NumberItem kIntervalItem = {"logtimeinterval", &LogSettings::logtimeinterval, 1,
                                  kNoLogTimeInterval};

const NumberItem kFlagItems[] = {
    {"bEnableAsnLog", &LogSettings::bEnableAsnLog, 1, kNoEnableAsnLog},
    {"bLogOutputPara", &LogSettings::bLogOutputPara, 0, kNoLogOutputPara},
};

// `value` is what the field gets when the store reports success but writes no value. A negative
// number is stored modulo 2^32.
void ReadNumber(CorbaConfigItems& items, const NumberItem& item, int value, LogSettings& settings) {
    if (items.GetIntItemInfo(item.name, value)) {
        settings.*item.field = static_cast<uint32_t>(value);
        return;
    }
    item.missing.Report();
    settings.*item.field = item.fallback;
}

void ReadSize(CorbaConfigItems& items, const NumberItem& item, LogSettings& settings) {
    ReadNumber(items, item, static_cast<int>((settings.*item.field).Get()), settings);
}

void ReadFlag(CorbaConfigItems& items, const NumberItem& item, LogSettings& settings) {
    ReadNumber(items, item, 0, settings);
}

// The value has four switches with one character of any kind between them. Levels that are missing
// in a short value are on.
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

// Mode 1 changes nothing: the manager starts with direct output and with 0 for the task, which is
// no task's handle. Otherwise sets direct output and kNoOutputTask.
void ReadOutputMode(CorbaConfigItems& items, LogSettings& settings) {
    int mode = 0;
    const bool read = items.GetIntItemInfo("outputmode", mode);
    if (read && static_cast<uint32_t>(mode) == kQueuedOutput) {
        return;
    }
    if (!read) {
        kNoOutputMode.Report();
    } else if (static_cast<uint32_t>(mode) != kDirectOutput) {
        kMeaninglessOutputMode.Report(mode);
    }
    settings.outputTask = kNoOutputTask;
    settings.outputmode = kDirectOutput;
}

}  // namespace

void LoadServiceConfiguration(CorbaConfigItems& items, LogMgr& manager) {
    for (const NumberItem& item : kChannelItems) {
        ReadSize(items, item, manager);
    }
    manager.CreateChannels();
    ReadSize(items, kIntervalItem, manager);
    ReadLevelSwitches(items, manager);
    ReadOutputMode(items, manager);
    for (const NumberItem& item : kFlagItems) {
        ReadFlag(items, item, manager);
    }
}

}  // namespace NS_LOG_SERVICE1
