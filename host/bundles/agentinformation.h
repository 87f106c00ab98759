// What the agent program tells its bundles about itself.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "bundlemgr/serviceinterface.h"

namespace NS_REFERENCE_HOST {

// The name under which the agent registers the object with the bundle manager. It lives longer than
// all bundles.
constexpr char kAgentInformationName[] = "AgentInformation";

// Thread safety: immutable.
class AgentInformation : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    virtual std::string Version() const = 0;
    virtual std::string ConfigurationPath() const = 0;

    // Seconds since 1970.
    virtual int64_t StartTime() const = 0;

    // The time since the start, whatever has been done to the clock.
    virtual std::chrono::milliseconds Uptime() const = 0;
};

}  // namespace NS_REFERENCE_HOST
