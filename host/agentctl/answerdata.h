// What an agent's answer says.
#pragma once

#include <json/value.h>

#include <functional>
#include <string>

namespace NS_REFERENCE_HOST {

// Returns the data of an answer. Throws ControlError for a refusal, and for what is no answer.
Json::Value ReadAnswerData(const std::string& answer);

// Returns what `format` makes of the data. Throws ControlError when it throws, because the data are
// not what it expects.
std::string FormatData(const std::function<std::string()>& format);

// The data as JSON in one line of valid UTF-8.
std::string FormatAsJson(const Json::Value& data);

}  // namespace NS_REFERENCE_HOST
