// The agent's answers as text for an operator.
#pragma once

#include <json/value.h>

#include <string>

namespace NS_REFERENCE_HOST {

// Each takes the "data" of an answer to the command of its name and returns lines that end with
// newlines; texts from the agent are escaped, `utf8` says for what terminal. Times are local ones.
// What is missing or of another type makes them throw Json::Exception. Any thread.
std::string ViewStatus(const Json::Value& data, bool utf8);
std::string ViewQueue(const Json::Value& data, bool utf8);
std::string ViewLoggers(const Json::Value& data, bool utf8);
std::string ViewModules(const Json::Value& data, bool utf8);
std::string ViewModule(const Json::Value& data, bool utf8);

// For commands that say nothing when they have succeeded.
std::string ViewNothing(const Json::Value& data, bool utf8);

}  // namespace NS_REFERENCE_HOST
