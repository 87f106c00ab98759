#include "channel/writepause.h"

#include <algorithm>
#include <ctime>

namespace NS_LOG_SERVICE1 {
namespace {

// In microseconds.
constexpr int64_t kFirst = 1000;
constexpr int64_t kLongest = 1000000;

int64_t MicrosecondsNow() {
    struct timespec now {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

}  // namespace

void WritePause::Begin() {
    length_ = std::clamp(2 * length_, kFirst, kLongest);
    end_ = MicrosecondsNow() + length_;
}

bool WritePause::IsOver() const {
    return length_ == 0 || MicrosecondsNow() >= end_;
}

}  // namespace NS_LOG_SERVICE1
