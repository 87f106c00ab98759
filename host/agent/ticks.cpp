// Something to wait for that happens again and again.
#include "agent/ticks.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace NS_REFERENCE_HOST {

Ticks::Ticks(std::chrono::seconds interval)
    : descriptor_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    const timespec time{interval.count(), 0};
    const itimerspec setting{time, time};
    if (descriptor_ < 0 || timerfd_settime(descriptor_, 0, &setting, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "timerfd");
    }
}

Ticks::~Ticks() {
    close(descriptor_);
}

void Ticks::Take() const {
    uint64_t count = 0;
    static_cast<void>(!read(descriptor_, &count, sizeof(count)));
}

}  // namespace NS_REFERENCE_HOST
