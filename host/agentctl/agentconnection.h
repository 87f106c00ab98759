// Asks the agent.
#pragma once

#include <chrono>
#include <string>

namespace NS_REFERENCE_HOST {

// Sends one request, without its newline, to the agent whose socket is at `path`, and returns the
// answer line without its newline. All of that takes at most `timeout`. Throws ControlError: no
// agent, no answer in time, or a broken one.
std::string Ask(const std::string& path, const std::string& request,
                std::chrono::milliseconds timeout);

}  // namespace NS_REFERENCE_HOST
