// The clock that nobody sets, advanced by a test.
#pragma once

#include <chrono>

namespace NS_TEST {

// While it lives, the process sees that much more of it. Whoever sleeps sleeps as long as before.
//
// Thread safety: one at a time; any thread may look at the clock.
class AdvancedClock {
  public:
    explicit AdvancedClock(std::chrono::seconds by);
    ~AdvancedClock();

    AdvancedClock(const AdvancedClock&) = delete;
    AdvancedClock& operator=(const AdvancedClock&) = delete;
};

}  // namespace NS_TEST
