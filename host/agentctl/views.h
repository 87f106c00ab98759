// Formats the agent's answers for an operator.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace NS_REFERENCE_HOST {

// Where the text is shown. A value.
struct Presentation {
    bool utf8 = false;        // the terminal shows it
    std::size_t columns = 0;  // of the terminal; 0: there is none, and lines may be long
};

// Each takes the "data" of the answer to one command and returns lines that end with newlines.
// Escapes texts from the agent. Shows local times. Throws Json::Exception when a member is missing
// or of another type. Thread safety: any thread.
std::string ViewStatus(const Json::Value& data, const Presentation& presentation);
std::string ViewHealth(const Json::Value& data, const Presentation& presentation);
std::string ViewQueue(const Json::Value& data, const Presentation& presentation);
std::string ViewLoggers(const Json::Value& data, const Presentation& presentation);
std::string ViewModules(const Json::Value& data, const Presentation& presentation);
std::string ViewModule(const Json::Value& data, const Presentation& presentation);

// For commands that print nothing when they succeed.
std::string ViewNothing(const Json::Value& data, const Presentation& presentation);

// Parts of more than one view: "on" or "off", how records are put out, and a local time.
std::string OnOff(const Json::Value& value);
std::string OutputLine(const Json::Value& data);
std::string LocalTime(int64_t seconds);

}  // namespace NS_REFERENCE_HOST
