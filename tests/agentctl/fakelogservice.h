// A logging service that notes what it is asked to do.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "agentinformation.h"
#include "qv_base_log/logmaintenanceinterface.h"
#include "qv_base_log/logsvcinterface.h"
#include "support/otherservices.h"

namespace NS_TEST {

// Registered as long as it lives. The fields are the test's to set and to read.
//
// Thread safety: one thread at a time.
class FakeMaintenance : public NS_LOG_SERVICE1::LogMaintenanceInterface {
  public:
    std::string GetIFName() const override { return "fake"; }
    bool IsValid() const override { return true; }
    unsigned int GetVersion() const override { return version; }
    void FlushAll() override { calls.push_back("FlushAll"); }
    bool OutputAll(const std::string& category) override {
        calls.push_back("OutputAll " + category);
        return success;
    }
    unsigned int SetQueuedOutput(bool on) override {
        calls.push_back(on ? "SetQueuedOutput on" : "SetQueuedOutput off");
        return code;
    }
    unsigned int GetOutputMode() override { return 1; }
    bool HasPeriodicOutput() override { return true; }
    void GetLoggers(std::vector<NS_LOG_SERVICE1::LoggerStatus>& all) override {
        if (throws) {
            throw std::runtime_error("out of breath");
        }
        all = loggers;
    }
    bool SetLoggerLevel(const std::string& first, const std::string& second,
                        const std::string& category, unsigned int level, bool on) override {
        calls.push_back("SetLoggerLevel " + first + "|" + second + "|" + category + " " +
                        std::to_string(level) + (on ? " on" : " off"));
        return success;
    }
    bool SetLevel(unsigned int level, bool on) override {
        calls.push_back("SetLevel " + std::to_string(level) + (on ? " on" : " off"));
        return success;
    }
    void GetChannels(std::vector<NS_LOG_SERVICE1::ChannelStatus>& all) override { all = channels; }
    void GetModules(std::vector<NS_LOG_SERVICE1::ModuleStatus>& all) override { all = modules; }
    void SetFilePolicy(NS_LOG_SERVICE1::LogFilePolicy chosen) override { policy = chosen; }
    NS_LOG_SERVICE1::LogFilePolicy GetFilePolicy() override { return policy; }
    bool Reopen(const std::string& category) override {
        calls.push_back("Reopen " + category);
        return success;
    }
    bool Rotate(const std::string& category) override {
        calls.push_back("Rotate " + category);
        return success;
    }
    void SetQueueBytes(uint64_t bytes) override { queueBytes = bytes; }
    uint64_t GetQueueBytes() override { return queueBytes; }
    void GetChannelBooks(std::vector<NS_LOG_SERVICE1::ChannelBooks>& all) override { all = books; }
    NS_LOG_SERVICE1::LogSwitches GetSwitches() override { return globalSwitches; }
    void WriteQueuesBeforeDeath() noexcept override {}

    std::vector<std::string> calls;
    std::vector<NS_LOG_SERVICE1::LoggerStatus> loggers;
    std::vector<NS_LOG_SERVICE1::ChannelStatus> channels;
    std::vector<NS_LOG_SERVICE1::ModuleStatus> modules;
    std::vector<NS_LOG_SERVICE1::ChannelBooks> books;
    NS_LOG_SERVICE1::LogSwitches globalSwitches{};
    NS_LOG_SERVICE1::LogFilePolicy policy = NS_LOG_SERVICE1::LOG_FILE_POLICY_CONTRACT;
    uint64_t queueBytes = 0;
    unsigned int version = NS_LOG_SERVICE1::LOG_MAINTENANCE_VERSION;
    unsigned int code = 0;
    bool success = true;
    bool throws = false;

  private:
    RegisteredInterface registered_{NS_LOG_SERVICE1::LOG_MAINTENANCE_INTERFACE_NAME, *this};
};

// The same for the service itself.
class FakeLogService : public NS_LOG_SERVICE1::LogSvcInterface {
  public:
    std::string GetIFName() const override { return "fake"; }
    bool IsValid() const override { return true; }
    bool Init() override { return true; }
    void Fini() override {}
    NS_LOG_SERVICE1::LoggerIF* GetLogger(const std::string&, const std::string&,
                                         const std::string&) override {
        return nullptr;
    }
    unsigned int SetOutputMode(unsigned int mode) override {
        modes.push_back(mode);
        return code;
    }
    bool GetModuleSwitch(const unsigned int& module) override {
        const auto found = switches.find(module);
        return found == switches.end() || found->second;
    }
    void SetModuleSwitch(const unsigned int& module, const bool& on) override {
        switches[module] = on;
    }
    bool IsLevelEnabled(const unsigned int&) override { return true; }
    unsigned int IsLogOutputPara() override { return 0; }

    std::vector<unsigned int> modes;
    std::map<unsigned int, bool> switches;
    unsigned int code = 0;

  private:
    RegisteredInterface registered_{NS_LOG_SERVICE1::LOG_SVC_INTERFACE_NAME, *this};
};

// What the agent program tells of itself. Registered as long as it lives.
class FakeAgentInformation : public NS_REFERENCE_HOST::AgentInformation {
  public:
    std::string GetIFName() const override { return "fake"; }
    bool IsValid() const override { return true; }
    std::string Version() const override { return "1.2.3"; }
    std::string ConfigurationPath() const override { return "/share/conf"; }
    int64_t StartTime() const override { return 1700000000; }
    std::chrono::milliseconds Uptime() const override { return std::chrono::milliseconds(2500); }

  private:
    RegisteredInterface registered_{NS_REFERENCE_HOST::kAgentInformationName, *this};
};

}  // namespace NS_TEST
