#include "manager/logmgr.h"

#include <memory>

#include "base/lockguard.h"
#include "lookup/ownlogger.h"

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
    logMgr.Destroy();
}

LogMgr::~LogMgr() {
    channels_.Destroy();
    ForgetOwnLogger();
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

}  // namespace NS_LOG_SERVICE1
