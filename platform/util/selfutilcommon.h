// The utility library's functions on texts, paths and the environment.
#pragma once

#include <bitset>
#include <string>
#include <vector>

#include "bundlemgr/platformapi.h"

namespace NS_UTIL {

class QV_PLATFORM_API SelfUtilCommon {
  public:
    // The value of the environment variable `name`, empty when it is not set.
    static std::string getEnvValue(const std::string& name);
};

// Normalises `path` in place: backslashes become slashes, runs of separators become one, a
// separator at the end goes (but for the root). "." and ".." are left as they are.
QV_PLATFORM_API void PathFormat(std::string& path);

// `text` without blanks, tabs, carriage returns and newlines at either end.
QV_PLATFORM_API std::string Trim(const std::string& text);

// Splits `source` at each `separator` and replaces `parts` by the pieces; an empty piece counts, so
// "1,,0" gives three. An empty source gives no piece and false. With flag 0 set, empty pieces are
// left out. Other flags are the platform's own and have no effect here.
QV_PLATFORM_API bool SplitStringByTag(const std::string& source, std::vector<std::string>& parts,
                                      char separator, const std::bitset<16>& flags);

}  // namespace NS_UTIL
