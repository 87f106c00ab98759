// Asks the agent.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace NS_REFERENCE_HOST {

// The limits of waiting for an agent.
struct Patience {
    std::chrono::milliseconds timeout;  // for everything together
    int stopDescriptor = -1;            // polls as readable once nobody wants the answer; -1: none
};

// Sends one request to the agent whose socket is at `path` and returns the answer line. Both are
// without their newlines. Returns nothing when the stop descriptor became readable. Throws
// ControlError when there is no agent, no answer in time, or a broken one.
std::optional<std::string> Ask(const std::string& path, const std::string& request,
                               const Patience& patience);

}  // namespace NS_REFERENCE_HOST
