// Formats the agent's answers for an operator.
#pragma once

#include <json/value.h>

#include <string>

namespace NS_REFERENCE_HOST {

// Each takes the "data" of the answer to one command and returns lines that end with newlines.
// Escapes texts from the agent; `utf8` is the terminal's kind. Shows local times. Throws
// Json::Exception when a member is missing or of another type. Thread safety: any thread.
std::string ViewStatus(const Json::Value& data, bool utf8);
std::string ViewQueue(const Json::Value& data, bool utf8);
std::string ViewLoggers(const Json::Value& data, bool utf8);
std::string ViewModules(const Json::Value& data, bool utf8);
std::string ViewModule(const Json::Value& data, bool utf8);

// For commands that print nothing when they succeed.
std::string ViewNothing(const Json::Value& data, bool utf8);

}  // namespace NS_REFERENCE_HOST
