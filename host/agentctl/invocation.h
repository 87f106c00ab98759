// The command line of the control program.
#pragma once

#include <json/value.h>

#include <chrono>
#include <optional>
#include <string>

#include "agentctl/views.h"

namespace NS_REFERENCE_HOST {

// Formats the "data" of an answer; see views.h.
using View = std::string (*)(const Json::Value& data, const Presentation& presentation);

// A value. The initial values apply to what the command line leaves out.
struct Invocation {
    std::string socketPath;
    std::chrono::milliseconds timeout{10000};
    bool json = false;
    Json::Value request{Json::objectValue};
    View view = nullptr;
    bool exitsByHealth = false;  // the number "health" in the answer becomes the exit code
    std::optional<std::chrono::milliseconds> watchInterval;  // again and again, that often
};

// Reads the command line. Returns no value when it has printed the help or the version instead.
// Throws ControlError.
std::optional<Invocation> ReadInvocation(int argc, char* argv[]);

}  // namespace NS_REFERENCE_HOST
