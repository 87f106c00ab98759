// What the platform offers to whoever writes log files: where they go, how times and texts look.
#pragma once

#include <ace/Time_Value.h>

#include <string>

#include "bundlemgr/platformapi.h"

namespace NS_BUNDLEMGR1 {

// The directory of the agent's log files; it need not exist. Any thread.
QV_PLATFORM_API std::string GetNBILogPath();

// The directory that holds `path`, without a separator at its end: "/a/b" gives "/a", "/a" gives
// "/", a name without a separator gives ".". A separator at the end of `path` does not count.
QV_PLATFORM_API std::string GetParentPath(const std::string& path);

// Writes the local time of `time`, with its zone, into `stamp`, whose storage is reused: a caller
// that keeps the string between calls pays for no allocation. Any thread.
QV_PLATFORM_API void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp);

// The text as valid UTF-8. Returns `text` itself when it is valid as it stands; otherwise writes a
// readable form into `converted` and returns that. So the result lives as long as both. Any thread.
QV_PLATFORM_API const std::string& Convert2UTFforLog(const std::string& text,
                                                     std::string& converted);

}  // namespace NS_BUNDLEMGR1
