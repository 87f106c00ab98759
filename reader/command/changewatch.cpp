#include "command/changewatch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "input/bytesource.h"

namespace NS_LOG_READER {
namespace {

constexpr uint32_t kChanges =
    IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM;

}  // namespace

ChangeWatch::ChangeWatch() : events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (!events_.IsOpen()) {
        throw ReadError(std::string("inotify: ") + std::strerror(errno));
    }
}

void ChangeWatch::WatchDirectory(const std::string& directory) {
    if (::inotify_add_watch(events_.Get(), directory.c_str(), kChanges) < 0) {
        throw ReadError(directory + ": " + std::strerror(errno));
    }
}

void ChangeWatch::WatchProcess(int64_t process) {
    if (process > 0 && processes_.count(process) == 0) {
        FileDescriptor descriptor(
            static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(process), 0)));
        if (descriptor.IsOpen()) {
            processes_.emplace(process, std::move(descriptor));
        }
    }
}

void ChangeWatch::ReadEvents() const {
    alignas(inotify_event) char events[16384];
    while (::read(events_.Get(), events, sizeof events) > 0) {
    }
}

bool ChangeWatch::Wait() {
    std::vector<pollfd> all = {{events_.Get(), POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
    std::vector<int64_t> numbers;
    for (const auto& [process, descriptor] : processes_) {
        all.push_back({descriptor.Get(), POLLIN, 0});
        numbers.push_back(process);
    }
    if (::poll(all.data(), all.size(), -1) < 0) {
        return errno == EINTR;
    }
    ReadEvents();
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (all[i + 2].revents != 0) {
            processes_.erase(numbers[i]);
        }
    }
    // A pipe without a reader tells an error, a socket that its peer has hung up.
    return (all[1].revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

}  // namespace NS_LOG_READER
