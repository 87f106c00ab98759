// The log manager: owner of everything that outlives a single log call.
#pragma once

#include <cstdint>
#include <string>

#include "base/logsettings.h"
#include "base/mutex.h"
#include "base/singleton.h"
#include "channel/channelmap.h"
#include "manager/loggerlist.h"

namespace NS_LOG_SERVICE1 {

// Its settings are the inherited fields.
//
// Thread safety: any thread may call any operation but CreateChannels and DestroyInstance. Lock
// order: level switching, logger list, logger's level switches or channel map, then a channel's
// buffer mutex, then its file mutex.
class LogMgr : public LogSettings {
  public:
    // The manager, created on the first call. Null only when the lock under which it is created
    // cannot be taken.
    static LogMgr* Instance();

    // The manager, or null while there is none.
    static LogMgr* InstanceIfAny();

    // Destroys the manager if there is one: writes out the queues, closes the files and deletes
    // every logger, also when the lock cannot be taken. Whoever still logs has no logger any more.
    static void DestroyInstance();

    LogMgr(const LogMgr&) = delete;
    LogMgr& operator=(const LogMgr&) = delete;

    // Creates the seven channels with the sizes as they are set now. Called once, before the first
    // logger is asked for.
    void CreateChannels();

    // The logger of these three strings, created on the first request; null for a category that
    // does not exist. The manager owns it.
    Logger* GetLogger(const std::string& first, const std::string& second,
                      const std::string& category);

    // Writes out the queued records of every channel.
    void FlushAll();

    ChannelMap& Channels() { return channels_; }
    LoggerList& Loggers() { return loggers_; }

    // Switch one level of every logger; always return 1. Refusals are reported. The global switches
    // are the caller's to set, before the call. Throw std::out_of_range for a level of 4 or more,
    // if there is any logger.
    int EnableAllLogLevel(const uint32_t& level);
    int DisableAllLogLevel(const uint32_t& level);

    // Switches one level (0 to 3) globally and then for every logger. Global first: a logger that
    // is created meanwhile starts with the new value. Two threads that switch at once do so one
    // after the other.
    void SwitchLevel(uint32_t level, bool on) EXCLUDES(switchingMutex_);

    // Switch one level, or all, of the logger of that name; return the logger's answer, 0 when
    // there is no such logger. The last two throw std::out_of_range for every logger there is.
    int EnableLogLevel(const std::string& first, const std::string& second,
                       const std::string& category, uint32_t level);
    int DisableLogLevel(const std::string& first, const std::string& second,
                        const std::string& category, uint32_t level);
    int EnableLoggerLevels(const std::string& first, const std::string& second,
                           const std::string& category);
    int DisableLoggerLevels(const std::string& first, const std::string& second,
                            const std::string& category);

    // Whether the global switch of `level` is on; false above 3.
    bool IsLogLevelEnabled(const uint32_t& level) const;

    uint32_t GetEnableAsnLog() const { return bEnableAsnLog; }
    void SetEnableAsnLog(const uint32_t& value) { bEnableAsnLog = value; }
    uint32_t GetEnableOutputPara() const { return bLogOutputPara; }
    void SetEnableOutputPara(const uint32_t& value) { bLogOutputPara = value; }

    // Around a fork: the locks of the logger list, the channel map and the channels are held
    // meanwhile. The manager's and the loggers' other locks are made anew in the child.
    void BeforeFork();
    void AfterForkInParent();
    void AfterForkInChild();

    // Switches the output mode; see LogSvcInterface::SetOutputMode.
    unsigned int SetOutputMode(const unsigned int& mode);

  private:
    friend class Singleton<LogMgr>;
    LogMgr() = default;
    ~LogMgr();

    Mutex switchingMutex_;  // guards no field: held while a level is switched everywhere
    ChannelMap channels_;
    LoggerList loggers_;
};

}  // namespace NS_LOG_SERVICE1
