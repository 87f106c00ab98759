// What this agent tells its bundles about itself.
#pragma once

#include <ctime>
#include <string>

#include "bundles/agentinformation.h"

namespace NS_REFERENCE_HOST {

// Registered with the bundle manager as long as it lives.
//
// Thread safety: immutable.
class AgentDescription final : public AgentInformation {
  public:
    explicit AgentDescription(const std::string& configurationPath);
    ~AgentDescription() override;

    AgentDescription(const AgentDescription&) = delete;
    AgentDescription& operator=(const AgentDescription&) = delete;

    std::string GetIFName() const override { return kAgentInformationName; }
    bool IsValid() const override { return true; }

    std::string Version() const override { return QV_VERSION; }
    std::string ConfigurationPath() const override { return configurationPath_; }
    int64_t StartTime() const override { return startTime_; }
    std::chrono::milliseconds Uptime() const override;

  private:
    using Clock = std::chrono::steady_clock;

    const std::string configurationPath_;
    const time_t startTime_ = time(nullptr);
    const Clock::time_point start_ = Clock::now();
};

}  // namespace NS_REFERENCE_HOST
