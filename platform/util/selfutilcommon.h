// The utility library's functions on texts, paths and the environment. They may throw
// std::bad_alloc. Thread safety: any thread, while nobody changes the environment.
#pragma once

#include <bitset>
#include <string>
#include <vector>

#include "bundlemgr/platformapi.h"

namespace NS_UTIL {

// Reading the environment.
class QV_PLATFORM_API SelfUtilCommon {
  public:
    // Returns the value of the environment variable `name`; empty when it is not set.
    static std::string getEnvValue(const std::string& name);
};

// Normalises `path` in place: turns backslashes into slashes, merges slashes in a row, and removes
// a slash at the end, except that of the root. Leaves "." and ".." as they are.
QV_PLATFORM_API void PathFormat(std::string& path);

// Returns `text` without blanks, tabs, carriage returns and newlines at either end.
QV_PLATFORM_API std::string Trim(const std::string& text);

// Splits `source` at each `separator` and replaces `parts` by the pieces. An empty piece counts:
// "1,,0" gives three. With flag 0 set, empty pieces are left out. Other flags belong to the
// platform and have no effect here. Returns false, and no piece, for an empty source.
QV_PLATFORM_API bool SplitStringByTag(const std::string& source, std::vector<std::string>& parts,
                                      char separator, const std::bitset<16>& flags);

}  // namespace NS_UTIL
