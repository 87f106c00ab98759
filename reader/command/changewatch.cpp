#include "command/changewatch.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "input/bytesource.h"
#include "input/watchfailure.h"

namespace NS_LOG_READER {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kChanges =
    IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM;

// What a directory tells when another one takes the place of one in it.
constexpr uint32_t kNameChanges = IN_CREATE | IN_MOVED_TO | IN_DELETE | IN_MOVED_FROM;

}  // namespace

ChangeWatch::ChangeWatch() : events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (!events_.IsOpen()) {
        throw ReadError("watching files: " + DescribeWatchFailure(errno));
    }
}

void ChangeWatch::WatchDirectory(const std::string& directory) {
    std::error_code error;
    const fs::path path = fs::absolute(directory, error);
    WatchName(path);
    const fs::path target = fs::weakly_canonical(path, error);
    if (target != path) {
        WatchName(target);
    }
    const int watch = ::inotify_add_watch(events_.Get(), directory.c_str(), kChanges | IN_MASK_ADD);
    if (watch < 0) {
        throw ReadError(directory + ": " + DescribeWatchFailure(errno));
    }
    directories_.insert(watch);
}

// From the root down: what is made meanwhile is told by the one above it. What may not be watched
// is taken to stay.
void ChangeWatch::WatchName(const fs::path& path) {
    fs::path parent;
    for (const fs::path& name : path) {
        const int watch = parent.empty() ? -1
                                         : ::inotify_add_watch(events_.Get(), parent.c_str(),
                                                               kNameChanges | IN_MASK_ADD);
        if (watch >= 0) {
            names_[watch].insert(name.string());
        }
        parent /= name;
    }
}

std::string ChangeWatch::WatchProcess(int64_t process) {
    const auto known = processes_.find(process);
    if (process <= 0 || (known != processes_.end() && known->second.IsOpen())) {
        return "";
    }
    FileDescriptor descriptor(
        static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(process), 0)));
    const int error = descriptor.IsOpen() ? 0 : errno;
    // Any other failure says nothing: it may be forbidden, or a thread has the number, as an agent
    // in another container may have.
    if (error == ESRCH) {
        processes_.erase(process);
        return "";
    }
    processes_[process] = std::move(descriptor);
    ended_.erase(process);
    return error == 0 ? ""
                      : std::string("the end of processes is not seen: ") + std::strerror(error);
}

// Whether one of the events is wanted.
bool ChangeWatch::ReadEvents() {
    bool isWanted = false;
    alignas(inotify_event) char events[16384];
    for (ssize_t size = 0; (size = ::read(events_.Get(), events, sizeof events)) > 0;) {
        for (const char* at = events; at < events + size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(at);
            isWanted = isWanted || IsWanted(*event);
            at += sizeof *event + event->len;
        }
    }
    return isWanted;
}

bool ChangeWatch::IsWanted(const inotify_event& event) const {
    const auto names = names_.find(event.wd);
    const bool isNameOnly = names != names_.end() && directories_.count(event.wd) == 0;
    return !isNameOnly || (event.len > 0 && names->second.count(event.name) != 0);
}

bool ChangeWatch::Wait() {
    ended_.clear();
    for (bool isDue = false; !isDue;) {
        std::vector<pollfd> all = {{events_.Get(), POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
        std::vector<int64_t> numbers;
        for (const auto& [process, descriptor] : processes_) {
            all.push_back({descriptor.Get(), POLLIN, 0});
            numbers.push_back(process);
        }
        if (::poll(all.data(), all.size(), -1) < 0) {
            return errno == EINTR;
        }
        // A pipe without a reader tells an error, a socket that its peer has hung up.
        if ((all[1].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
            return false;
        }
        isDue = ReadEvents();
        for (size_t i = 0; i < numbers.size(); ++i) {
            if (all[i + 2].revents != 0) {
                processes_.erase(numbers[i]);
                ended_.insert(numbers[i]);
                isDue = true;
            }
        }
    }
    return true;
}

}  // namespace NS_LOG_READER
