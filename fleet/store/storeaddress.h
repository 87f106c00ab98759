// The URL of a store.
#pragma once

#include <string>

namespace NS_LOG_FLEET {

// What is wrong with it whatever the servers say; empty: nothing. Who connects with a wrong one is
// told the same as by a server that is away. Shows nothing that may be a part of a password.
std::string MistakeInAddress(const std::string& url);

}  // namespace NS_LOG_FLEET
