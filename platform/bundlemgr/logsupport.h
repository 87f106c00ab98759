// What the platform offers to a writer of log files: the directory, the form of times and texts.
// Thread safety: any thread may call any function. They may throw std::bad_alloc.
#pragma once

#include <ace/Time_Value.h>

#include <string>

#include "bundlemgr/platformapi.h"

namespace NS_BUNDLEMGR1 {

// Returns the directory of the agent's log files. It need not exist.
QV_PLATFORM_API std::string GetNBILogPath();

// Returns the directory that contains `path`, without a separator at its end: "/a/b" gives "/a",
// "/a" gives "/", a name without a separator gives ".". A separator at the end of `path` does not
// count.
QV_PLATFORM_API std::string GetParentPath(const std::string& path);

// Writes the local time of `time`, with its zone, into `stamp`. Uses the memory of `stamp` again,
// so a caller that keeps the string between calls pays for no allocation.
QV_PLATFORM_API void GetZoneTimeStamp(const ACE_Time_Value& time, std::string& stamp);

// Returns the text as valid UTF-8: `text` itself when it is valid, otherwise `converted`, into
// which it writes a readable form. The result lives as long as both.
QV_PLATFORM_API const std::string& Convert2UTFforLog(const std::string& text,
                                                     std::string& converted);

}  // namespace NS_BUNDLEMGR1
