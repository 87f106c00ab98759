// What the command line of the control program asks for.
#pragma once

#include <json/value.h>

#include <chrono>
#include <optional>
#include <string>

namespace NS_REFERENCE_HOST {

// Makes a text of the "data" of an answer; see views.h.
using View = std::string (*)(const Json::Value& data, bool utf8);

// A value; what the command line does not say is as initialised here.
struct Invocation {
    std::string socketPath;
    std::chrono::milliseconds timeout{10000};
    bool json = false;
    Json::Value request{Json::objectValue};
    View view = nullptr;
    std::optional<std::chrono::milliseconds> watchInterval;  // again and again, that often
};

// Reads the command line. No value: help or the version was asked for and has been printed. Throws
// ControlError.
std::optional<Invocation> ReadInvocation(int argc, char* argv[]);

}  // namespace NS_REFERENCE_HOST
