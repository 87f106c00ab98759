#include "control/logmaintenanceimpl.h"

#include "base/firstexception.h"
#include "channel/logfilestatistics.h"
#include "control/moduleswitchtable.h"
#include "logger/logger.h"

namespace NS_LOG_SERVICE1 {
namespace {

ChannelStatus StatusOf(const std::string& category, const TEDebugInfoBuf& channel) {
    const ChannelStatistics& waiting = channel.Statistics();
    const LogFileStatistics& file = channel.FileStatistics();
    ChannelStatus status;
    status.category = category;
    status.currentFile = channel.CurrentPath();
    status.recordsWritten = file.recordsWritten.Get();
    status.recordsDumped = file.recordsDumped.Get();
    status.recordsDropped = channel.Dropped();
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

// The file is looked at without any lock: the disk may be slow.
bool IsInPlace(const OpenedFile& file) {
    return file.path.empty() || IdentityOf(file.path) == file.identity;
}

// Reads the overwritten records first: each was counted as written before, so no difference is
// negative.
void CountRecords(const LogFileStatistics& file, ChannelBooks& books) {
    const uint64_t writtenOverwritten = file.writtenOverwritten.Get();
    const uint64_t dumpedOverwritten = file.dumpedOverwritten.Get();
    books.recordsOverwritten = writtenOverwritten + dumpedOverwritten;
    books.recordsWritten = file.recordsWritten.Get() - writtenOverwritten;
    books.recordsDumped = file.recordsDumped.Get() - dumpedOverwritten;
}

void CountRecords(const ChannelStatistics& waiting, ChannelBooks& books) {
    books.recordsEvicted = waiting.evicted.Get();
    books.recordsQueued = waiting.queued.Get();
    books.recordsQueuedMost = waiting.queuedMost.Get();
    books.recordsCached = waiting.keptBack.Get();
    books.bytesQueued = waiting.queuedBytes.Get();
}

ChannelBooks BooksOf(const std::string& category, const TEDebugInfoBuf& channel) {
    const LogFileStatistics& file = channel.FileStatistics();
    const OpenedFile opened = channel.CurrentFileOpened();
    ChannelBooks books;
    books.category = category;
    books.currentFile = opened.path;
    books.currentFileInPlace = IsInPlace(opened);
    books.failing = file.failing.Get() != 0;
    CountRecords(file, books);
    CountRecords(channel.Statistics(), books);
    books.recordsReceived = channel.Received();
    books.recordsDropped = channel.Dropped();
    books.bytesWritten = file.bytesWritten.Get();
    books.bytesEmptied = file.bytesEmptied.Get();
    books.rotations = file.rotations.Get();
    books.failures = file.failures.Get();
    books.lastError = static_cast<int>(file.lastError.Get());
    books.lastErrorTime = static_cast<int64_t>(file.lastErrorSecond.Get());
    books.lastErrorFile = file.lastErrorFile.Get();
    return books;
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

// Channel by channel, and not through the manager, which keeps its channels locked meanwhile.
void LogMaintenanceImpl::FlushAll() {
    ForChosen("", [](TEDebugInfoBuf& channel) { channel.Flush(); });
}

bool LogMaintenanceImpl::OutputAll(const std::string& category) {
    return ForChosen(category, [](TEDebugInfoBuf& channel) { channel.OutputAll(); });
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

void LogMaintenanceImpl::SetFilePolicy(LogFilePolicy policy) {
    reportsLosses_ = true;
    manager_.Channels().SetFilePolicy(
        policy == LOG_FILE_POLICY_KEEP_RECORDS ? FilePolicy::kKeepRecords : FilePolicy::kContract);
}

LogFilePolicy LogMaintenanceImpl::GetFilePolicy() {
    return manager_.Channels().Policy() == FilePolicy::kKeepRecords ? LOG_FILE_POLICY_KEEP_RECORDS
                                                                    : LOG_FILE_POLICY_CONTRACT;
}

bool LogMaintenanceImpl::Reopen(const std::string& category) {
    return ForChosen(category, [](TEDebugInfoBuf& channel) { channel.Reopen(); });
}

bool LogMaintenanceImpl::Rotate(const std::string& category) {
    return ForChosen(category, [](TEDebugInfoBuf& channel) { channel.Rotate(); });
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
    manager_.Channels().ForEach([&books](const std::string& name, const TEDebugInfoBuf& channel) {
        books.push_back(BooksOf(name, channel));
    });
}

bool LogMaintenanceImpl::ForChosen(const std::string& category,
                                   void (*operation)(TEDebugInfoBuf& channel)) {
    bool any = false;
    FirstException exception;
    manager_.Channels().ForEach([&](const char* name, TEDebugInfoBuf& channel) {
        if (!category.empty() && category != name) {
            return;
        }
        any = true;
        exception.Attempt([&] { operation(channel); });
    });
    exception.PassOn();
    return any;
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
