// An event that happens once, over an eventfd whose counter is never read.
#include "common/eventdescriptor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace NS_REFERENCE_HOST {

EventDescriptor::EventDescriptor() : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

EventDescriptor::~EventDescriptor() {
    close(descriptor_);
}

void EventDescriptor::Signal() noexcept {
    // The write fails only when the counter is full. The event has happened then.
    static_cast<void>(eventfd_write(descriptor_, 1));
}

bool EventDescriptor::IsSignalled() const noexcept {
    pollfd entry{descriptor_, POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

}  // namespace NS_REFERENCE_HOST
