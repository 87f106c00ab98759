// Why something cannot be watched for changes.
#pragma once

#include <cerrno>
#include <cstring>
#include <string>

namespace NS_LOG_READER {

// The system tells its limits for watching by the names of others: of open files, of a disk.
inline std::string DescribeWatchFailure(int error) {
    const char* const limit = error == EMFILE   ? ", or fs.inotify.max_user_instances is reached"
                              : error == ENOSPC ? ": fs.inotify.max_user_watches is reached"
                                                : "";
    return std::strerror(error) + std::string(limit);
}

}  // namespace NS_LOG_READER
