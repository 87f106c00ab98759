// The form of the answers that go over the control socket.
#pragma once

#include <json/value.h>

#include <string>

namespace NS_REFERENCE_HOST {

// JSON in one line.
std::string WriteJson(const Json::Value& value);

// Reads a JSON object. Throws std::runtime_error for anything else.
Json::Value ReadJsonObject(const std::string& text);

// The answer to a request that was carried out.
std::string MakeSuccess(const Json::Value& data);

// The answer to one that was not, and the operation's code for it where there is one.
std::string MakeFailure(const std::string& reason);
std::string MakeFailure(const std::string& reason, unsigned int code);

}  // namespace NS_REFERENCE_HOST
