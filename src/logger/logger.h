// The logger that clients hold as a LoggerIF.
#pragma once

#include <atomic>
#include <string>

#include "base/logsettings.h"
#include "base/mutex.h"
#include "base/relaxedatomic.h"
#include "base/renew.h"
#include "channel/channelmap.h"
#include "qv_base_log/loggerif.h"

namespace NS_LOG_SERVICE1 {

// Makes a record of each call and passes it to the channel of its category, which writes or queues
// it when its level is on and keeps it back otherwise.
//
// Thread safety: any thread may call any operation.
class Logger : public LoggerIF {
  public:
    // Starts with a copy of the global level switches. `settings` and `channels` live longer than
    // the logger is used. A logger made before its category has a channel looks again with each
    // record, and loses the record while there is none.
    Logger(const std::string& first, const std::string& second, const std::string& category,
           LogSettings& settings, ChannelMap& channels);
    ~Logger() override;

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    bool EnableLevel(unsigned int level) override;
    bool DisableLevel(unsigned int level) override;
    bool EnableAllLevels() override;
    bool DisableAllLevels() override;
    void Log(const std::string& file, const std::string& function, unsigned int line, int level,
             const std::string& text) override;
    void LogFormat(const std::string& file, const std::string& function, unsigned int line,
                   int level, const char* format, ...) override
        __attribute__((format(printf, 6, 7)));
    void LogAsnTrace(const std::string& file, const std::string& function, unsigned int line,
                     NS_ASN1::AsnObject& message) override;
    void LogAlarm(const std::string& file, const std::string& function, unsigned int line,
                  const Json::Value& alarms) override;
    void PrintAsn(const std::string& file, const std::string& function, unsigned int line,
                  NS_ASN1::AsnObject& message) override;
    bool IsLevelEnabled(const unsigned int& level) override;

    // Makes the static objects that loggers use. A fork beside their first use would leave them
    // half made in the child.
    static void MakeStaticObjects();

    // In a child process: what all loggers share and another thread of the parent may have held.
    static void AfterForkInChild();

    // Frees the memory that calls of any logger have left for the next ones.
    static void FreeMemory();

    // In a child process: another thread of the parent may have held the lock.
    void RenewLevelMutex() { Renew(levelMutex_); }

    const std::string& First() const { return first_; }
    const std::string& Second() const { return second_; }
    const std::string& Category() const { return category_; }
    // The logger's own switches. They decide what is written.
    LevelSwitches Levels() const { return levels_; }
    // Null until the category has a channel.
    const TEDebugInfoBuf* Channel() const { return channel_.load(std::memory_order_acquire); }

  private:
    bool SetLevel(size_t position, bool on) EXCLUDES(levelMutex_);
    TEDebugInfoBuf* FindChannel();

    const std::string category_;
    const std::string first_;
    const std::string second_;
    LogSettings& settings_;
    ChannelMap& channels_;
    std::atomic<TEDebugInfoBuf*> channel_;  // the channel map's
    RelaxedAtomic<LevelSwitches> levels_;   // changed under levelMutex_, read without it
    Mutex levelMutex_;
};

}  // namespace NS_LOG_SERVICE1
