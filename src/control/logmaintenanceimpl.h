// The maintenance interface.
#pragma once

#include <string>
#include <vector>

#include "base/relaxedatomic.h"
#include "channel/channel.h"
#include "control/queuedoutput.h"
#include "manager/logmgr.h"
#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_LOG_SERVICE1 {

// Thread safety: any thread.
class LogMaintenanceImpl : public LogMaintenanceInterface {
  public:
    // `manager` lives longer than this object.
    explicit LogMaintenanceImpl(LogMgr& manager) : manager_(manager) {}

    // Ends the periodic output.
    ~LogMaintenanceImpl() override;

    // See QueuedOutput.
    void AfterForkInChild() { queuedOutput_.AfterForkInChild(); }

    // Whether the service reports at its end what was lost: not before somebody has chosen a
    // policy. Losses are silent where nobody administers the service.
    bool ReportsLosses() const { return reportsLosses_; }

    std::string GetIFName() const override { return LOG_MAINTENANCE_INTERFACE_NAME; }
    bool IsValid() const override { return true; }
    unsigned int GetVersion() const override { return LOG_MAINTENANCE_VERSION; }

    void FlushAll() override;
    bool OutputAll(const std::string& category) override;
    unsigned int SetQueuedOutput(bool on) override;
    unsigned int GetOutputMode() override;
    bool HasPeriodicOutput() override;
    void GetLoggers(std::vector<LoggerStatus>& loggers) override;
    bool SetLoggerLevel(const std::string& first, const std::string& second,
                        const std::string& category, unsigned int level, bool on) override;
    bool SetLevel(unsigned int level, bool on) override;
    void GetChannels(std::vector<ChannelStatus>& channels) override;
    void GetModules(std::vector<ModuleStatus>& modules) override;
    void SetFilePolicy(LogFilePolicy policy) override;
    LogFilePolicy GetFilePolicy() override;
    bool Reopen(const std::string& category) override;
    bool Rotate(const std::string& category) override;
    void SetQueueBytes(uint64_t bytes) override;
    uint64_t GetQueueBytes() override;
    void GetChannelBooks(std::vector<ChannelBooks>& books) override;
    LogSwitches GetSwitches() override;
    void WriteQueuesBeforeDeath() noexcept override;

  private:
    // Calls `operation` with the channel of that category, or with each one if it is empty. Returns
    // false when there is no such category. When it throws for one channel, the others have their
    // turn before the first exception passes on. REQUIRES: `operation` cannot be cancelled.
    bool ForChosen(const std::string& category, void (*operation)(TEDebugInfoBuf& channel));

    LogMgr& manager_;
    QueuedOutput queuedOutput_;
    RelaxedAtomic<bool> reportsLosses_{false};
};

}  // namespace NS_LOG_SERVICE1
