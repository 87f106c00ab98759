#include "control/logmaintenanceimpl.h"

#include "control/moduleswitchtable.h"

namespace NS_LOG_SERVICE1 {
namespace {

ChannelStatus StatusOf(const std::string& category, TEDebugInfoBuf& channel) {
    const ChannelStatistics& waiting = channel.Statistics();
    const LogFileStatistics& file = channel.FileStatistics();
    ChannelStatus status;
    status.category = category;
    status.currentFile = channel.CurrentPath();
    status.recordsWritten = file.recordsWritten.Get();
    status.recordsDumped = file.recordsDumped.Get();
    status.recordsDropped = file.recordsDropped.Get();
    status.recordsEvicted = waiting.evicted.Get();
    status.recordsQueued = waiting.queued.Get();
    status.recordsQueuedMost = waiting.queuedMost.Get();
    status.recordsCached = waiting.keptBack.Get();
    status.bytesWritten = file.bytesWritten.Get();
    status.rotations = file.rotations.Get();
    status.lastError = static_cast<int>(file.lastError.Get());
    status.lastErrorTime = static_cast<int64_t>(file.lastErrorSecond.Get());
    return status;
}

LoggerStatus StatusOf(const Logger& logger) {
    LoggerStatus status;
    status.first = logger.First();
    status.second = logger.Second();
    status.category = logger.Category();
    const LevelSwitches levels = logger.Levels();
    for (size_t level = 0; level < levels.size(); ++level) {
        status.levels[level] = levels[level];
    }
    return status;
}

}  // namespace

LogMaintenanceImpl::~LogMaintenanceImpl() {
    try {
        queuedOutput_.EndPeriodicOutput(manager_);
    } catch (...) {  // NOLINT: a schedule service that throws must not keep the service from ending
    }
}

void LogMaintenanceImpl::FlushAll() {
    manager_.FlushAll();
}

bool LogMaintenanceImpl::OutputAll(const std::string& category) {
    bool found = false;
    manager_.Channels().ForEach([&](const std::string& name, TEDebugInfoBuf& channel) {
        if (category.empty() || name == category) {
            found = true;
            channel.OutputAll();
        }
    });
    return found;
}

unsigned int LogMaintenanceImpl::SetQueuedOutput(bool on) {
    return on ? queuedOutput_.SwitchOn(manager_) : queuedOutput_.SwitchOff(manager_);
}

unsigned int LogMaintenanceImpl::GetOutputMode() {
    return manager_.outputmode;
}

bool LogMaintenanceImpl::HasPeriodicOutput() {
    return QueuedOutput::HasPeriodicOutput(manager_);
}

void LogMaintenanceImpl::GetLoggers(std::vector<LoggerStatus>& loggers) {
    loggers.clear();
    manager_.Loggers().ForEach(
        [&loggers](const Logger& logger) { loggers.push_back(StatusOf(logger)); });
}

bool LogMaintenanceImpl::SetLoggerLevel(const std::string& first, const std::string& second,
                                        const std::string& category, unsigned int level, bool on) {
    if (level >= LOG_LEVEL_COUNT) {
        return false;
    }
    return (on ? manager_.EnableLogLevel(first, second, category, level)
               : manager_.DisableLogLevel(first, second, category, level)) != 0;
}

bool LogMaintenanceImpl::SetLevel(unsigned int level, bool on) {
    if (level >= LOG_LEVEL_COUNT) {
        return false;
    }
    manager_.SwitchLevel(level, on);
    return true;
}

void LogMaintenanceImpl::GetChannels(std::vector<ChannelStatus>& channels) {
    channels.clear();
    manager_.Channels().ForEach([&channels](const std::string& name, TEDebugInfoBuf& channel) {
        channels.push_back(StatusOf(name, channel));
    });
}

void LogMaintenanceImpl::GetModules(std::vector<ModuleStatus>& modules) {
    modules.clear();
    if (ModuleSwitchTable* table = ModuleSwitchTable::Instance()) {
        for (const auto& [module, on] : table->All()) {
            modules.push_back({static_cast<unsigned int>(module), on});
        }
    }
}

void LogMaintenanceImpl::SetFilePolicy(LogFilePolicy /*policy*/) {}

LogFilePolicy LogMaintenanceImpl::GetFilePolicy() {
    return LOG_FILE_POLICY_CONTRACT;
}

bool LogMaintenanceImpl::Reopen(const std::string& /*category*/) {
    return false;
}

bool LogMaintenanceImpl::Rotate(const std::string& /*category*/) {
    return false;
}

void LogMaintenanceImpl::SetQueueBytes(uint64_t bytes) {
    manager_.queueBytes = bytes;
    manager_.Channels().ForEach([bytes](const std::string& /*name*/, TEDebugInfoBuf& channel) {
        channel.LimitQueueBytes(bytes);
    });
}

uint64_t LogMaintenanceImpl::GetQueueBytes() {
    return manager_.queueBytes;
}

void LogMaintenanceImpl::GetChannelBooks(std::vector<ChannelBooks>& books) {
    books.clear();
}

LogSwitches LogMaintenanceImpl::GetSwitches() {
    LogSwitches switches{};
    const LevelSwitches levels = manager_.levelSwitches;
    for (size_t level = 0; level < levels.size(); ++level) {
        switches.levels[level] = levels[level];
    }
    switches.asnTrace = manager_.bEnableAsnLog != 0;
    switches.outputParameters = manager_.bLogOutputPara != 0;
    return switches;
}

void LogMaintenanceImpl::WriteQueuesBeforeDeath() noexcept {
    manager_.Channels().WriteBeforeDeath();
}

}  // namespace NS_LOG_SERVICE1
