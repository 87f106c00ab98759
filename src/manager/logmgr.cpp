#include "manager/logmgr.h"

#include <memory>

#include "base/clientwork.h"
#include "base/lockguard.h"
#include "base/renew.h"
#include "bundlemgr/processexception.h"
#include "diagnostic/messages.h"
#include "lookup/interfacelookup.h"
#include "lookup/ownlogger.h"
#include "qv_base_log/resultcode.h"
#include "schedule/schedulesvcinterface.h"

namespace NS_LOG_SERVICE1 {
namespace {

Singleton<LogMgr> logMgr(&StaticObjectLock);

}  // namespace

LogMgr* LogMgr::Instance() {
    return logMgr.Instance();
}

LogMgr* LogMgr::InstanceIfAny() {
    return logMgr.InstanceIfAny();
}

void LogMgr::DestroyInstance() {
    logMgr.DestroyInAnyCase();
}

LogMgr::~LogMgr() {
    channels_.Destroy();
    ForgetOwnLogger();
    Logger::FreeMemory();
}

void LogMgr::CreateChannels() {
    channels_.Create(*this);
}

Logger* LogMgr::GetLogger(const std::string& first, const std::string& second,
                          const std::string& category) {
    return loggers_.FindOrAdd({first, second, category}, [&]() -> std::unique_ptr<Logger> {
        if (!IsLogCategory(category)) {
            return nullptr;
        }
        return std::make_unique<Logger>(first, second, category, *this, channels_);
    });
}

void LogMgr::FlushAll() {
    channels_.FlushAll();
}

void LogMgr::BeforeFork() {
    loggers_.BeforeFork();
    channels_.BeforeFork();
}

void LogMgr::AfterForkInParent() {
    channels_.AfterForkInParent();
    loggers_.AfterForkInParent();
}

// The periodic output is done by a thread that the child does not have. Without it a record could
// wait in the queue for ever, so the child's records are written at once.
void LogMgr::AfterForkInChild() {
    channels_.AfterForkInChild();
    loggers_.AfterForkInChild();
    Logger::AfterForkInChild();
    Renew(switchingMutex_);
    if (outputTask > 0) {
        outputTask = kNoOutputTask;
        outputmode = kDirectOutput;
    }
}

int LogMgr::EnableAllLogLevel(const uint32_t& level) {
    loggers_.EnableAll(level);
    return 1;
}

int LogMgr::DisableAllLogLevel(const uint32_t& level) {
    loggers_.DisableAll(level);
    return 1;
}

void LogMgr::SwitchLevel(uint32_t level, bool on) {
    const LockGuard<Mutex> guard(switchingMutex_);
    levelSwitches.Update([level, on](LevelSwitches switches) { return switches.set(level, on); });
    if (on) {
        EnableAllLogLevel(level);
    } else {
        DisableAllLogLevel(level);
    }
}

int LogMgr::EnableLogLevel(const std::string& first, const std::string& second,
                           const std::string& category, uint32_t level) {
    return loggers_.WithLogger({first, second, category},
                               [level](Logger& logger) { return logger.EnableLevel(level); });
}

int LogMgr::DisableLogLevel(const std::string& first, const std::string& second,
                            const std::string& category, uint32_t level) {
    return loggers_.WithLogger({first, second, category},
                               [level](Logger& logger) { return logger.DisableLevel(level); });
}

int LogMgr::EnableLoggerLevels(const std::string& first, const std::string& second,
                               const std::string& category) {
    return loggers_.WithLogger({first, second, category},
                               [](Logger& logger) { return logger.EnableAllLevels(); });
}

int LogMgr::DisableLoggerLevels(const std::string& first, const std::string& second,
                                const std::string& category) {
    return loggers_.WithLogger({first, second, category},
                               [](Logger& logger) { return logger.DisableAllLevels(); });
}

bool LogMgr::IsLogLevelEnabled(const uint32_t& level) const {
    return IsLevelOn(levelSwitches, level);
}

// Mode 1 is acknowledged but not entered, and `outputmode` is never written here: switching to 0
// only ends the periodic task; see docs/compatibility.md. The maintenance interface switches queued
// output on and off.
//
// A thread that was cancelled between the end of the task and the last line would leave the handle
// of a task that is gone: output would be taken for periodic, and could not be switched off.
unsigned int LogMgr::SetOutputMode(const unsigned int& mode) {
    const ClientWork work;
    if (mode == outputmode || mode == kQueuedOutput) {
        return LOG_RESULT_OK;
    }
    if (mode != kDirectOutput) {
        return LOG_RESULT_INVALID_OUTPUT_MODE;
    }
    const int64_t task = outputTask;
    try {
        auto& schedule = LookUp<NS_SCHEDULE_SERVICE1::ScheduleSvcInterface>("ScheduleSvcInterface");
        if (schedule.DeleteTask(task) != 0) {
            kTaskNotDeleted.Report();
            return LOG_RESULT_DELETE_TASK_FAILED;
        }
    } catch (const NS_BUNDLEMGR1::InterfaceNotExistException& exception) {
        ReportException(exception);
        return LOG_RESULT_INTERFACE_NOT_EXIST;
    }
    // Keep the handle of a task that was started meanwhile.
    outputTask.Update([task](int64_t now) { return now == task ? kNoOutputTask : now; });
    return LOG_RESULT_OK;
}

}  // namespace NS_LOG_SERVICE1
