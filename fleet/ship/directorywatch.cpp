#include "ship/directorywatch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "input/bytesource.h"
#include "input/watchfailure.h"

namespace NS_LOG_FLEET {
namespace {

namespace fs = std::filesystem;

using NS_LOG_READER::DescribeWatchFailure;
using NS_LOG_READER::ReadError;

constexpr uint32_t kNameChanges = IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM;
constexpr uint32_t kChanges = kNameChanges | IN_MODIFY | IN_CLOSE_WRITE;

}  // namespace

DirectoryWatch::DirectoryWatch(const std::vector<std::string>& paths)
    : events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (!events_.IsOpen()) {
        throw ReadError("watching directories: " + DescribeWatchFailure(errno));
    }
    for (const std::string& path : paths) {
        const std::string parent = fs::path(path).parent_path().string();
        const std::string& directory = fs::is_directory(path) ? path
                                       : parent.empty()       ? "."
                                                              : parent;
        if (::inotify_add_watch(events_.Get(), directory.c_str(), kChanges) < 0) {
            throw ReadError(directory + ": " + DescribeWatchFailure(errno));
        }
    }
}

DirectoryWatch::Changes DirectoryWatch::ReadEvents() const {
    alignas(inotify_event) char events[16384];
    Changes changes;
    for (;;) {
        const ssize_t size = ::read(events_.Get(), events, sizeof events);
        if (size <= 0) {
            return changes;
        }
        changes.any = true;
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(events + at);
            // Of too many changes at once, some are not told.
            changes.names = changes.names || (event->mask & (kNameChanges | IN_Q_OVERFLOW)) != 0;
            at += static_cast<ssize_t>(sizeof *event + event->len);
        }
    }
}

DirectoryWatch::Changes DirectoryWatch::Wait(std::chrono::milliseconds time) {
    pollfd waited{events_.Get(), POLLIN, 0};
    ::poll(&waited, 1, static_cast<int>(time.count()));
    return ReadEvents();
}

}  // namespace NS_LOG_FLEET
