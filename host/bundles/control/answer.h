// The format of the answers on the control socket.
#pragma once

#include <json/value.h>

#include <string>

namespace NS_REFERENCE_HOST {

// Returns the value as JSON in one line. Throws std::bad_alloc.
std::string WriteJson(const Json::Value& value);

// Reads a JSON object. Throws std::runtime_error for anything else.
Json::Value ReadJsonObject(const std::string& text);

// Returns the answer to a request that succeeded.
std::string MakeSuccess(const Json::Value& data);

// Returns the answer to a request that failed, with the operation's code if there is one.
std::string MakeFailure(const std::string& reason);
std::string MakeFailure(const std::string& reason, unsigned int code);

}  // namespace NS_REFERENCE_HOST
