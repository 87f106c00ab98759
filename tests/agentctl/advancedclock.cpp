// The clock that nobody sets, advanced by a test: the program has its own clock_gettime, which the
// C++ library calls as well.
#include "agentctl/advancedclock.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <ctime>

namespace {

std::atomic<time_t> g_advance{0};

}  // namespace

namespace NS_TEST {

AdvancedClock::AdvancedClock(std::chrono::seconds by) {
    g_advance = by.count();
}

AdvancedClock::~AdvancedClock() {
    g_advance = 0;
}

}  // namespace NS_TEST

#pragma GCC visibility push(default)

extern "C" int clock_gettime(clockid_t clock, struct timespec* now) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    if (clock == CLOCK_MONOTONIC) {
        now->tv_sec += g_advance;
    }
    return result;
}

#pragma GCC visibility pop
