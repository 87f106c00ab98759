// Where the agent's log files go.
#include "bundlemgr/corbaconfigitems.h"
#include "bundlemgr/logsupport.h"
#include "bundlemgr/processexception.h"
#include "util/selfutilcommon.h"

namespace NS_BUNDLEMGR1 {

// Returns the item "logpath", or "log" in the share directory when the item is missing, empty or
// cannot be read.
std::string GetNBILogPath() {
    std::string path;
    try {
        CorbaConfigItems::Instance()->GetStrItemInfo("logpath", path);
    } catch (const InterfaceNotExistException&) {
        path.clear();  // logs must go somewhere, most of all when the configuration is broken
    }
    if (path.empty()) {
        path = NS_UTIL::SelfUtilCommon::getEnvValue("_APP_SHARE_DIR") + "/log";
    }
    NS_UTIL::PathFormat(path);
    return path;
}

std::string GetParentPath(const std::string& path) {
    const size_t last = path.find_last_not_of('/');
    if (last == std::string::npos) {
        return path.empty() ? "." : "/";
    }
    const size_t separator = path.find_last_of('/', last);
    if (separator == std::string::npos) {
        return ".";
    }
    const size_t end = path.find_last_not_of('/', separator);
    return end == std::string::npos ? "/" : path.substr(0, end + 1);
}

}  // namespace NS_BUNDLEMGR1
