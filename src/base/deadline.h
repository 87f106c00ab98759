// The end of a wait.
#pragma once

#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <ctime>

namespace NS_LOG_SERVICE1 {

// By the monotonic clock. May be used in a signal handler.
//
// Thread safety: constant.
class Deadline {
  public:
    explicit Deadline(int64_t milliseconds) : end_(Now() + milliseconds * 1'000'000) {}

    bool IsOver() const { return Now() >= end_; }

    // Waits until `condition` is true. Checks it at once and then every millisecond. Returns
    // whether it became true before the end. The thread cannot be cancelled in the pauses, since it
    // may hold a record that is not written yet. Keeps errno.
    template <class Condition>
    bool Await(Condition condition) const {
        while (!condition()) {
            if (IsOver()) {
                return false;
            }
            PauseBriefly();
        }
        return true;
    }

  private:
    static void PauseBriefly() {
        const struct timespec pause = {0, 1'000'000};
        const int errorBefore = errno;
        int cancelStateBefore = PTHREAD_CANCEL_ENABLE;
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelStateBefore);
        ::nanosleep(&pause, nullptr);
        ::pthread_setcancelstate(cancelStateBefore, nullptr);
        errno = errorBefore;
    }

    static int64_t Now() {
        struct timespec now = {};
        ::clock_gettime(CLOCK_MONOTONIC, &now);
        return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    }

    int64_t end_;
};

}  // namespace NS_LOG_SERVICE1
