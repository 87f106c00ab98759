// The platform's rendering of times, under the control of a test.
#pragma once

#include <cstdint>
#include <vector>

namespace NS_TEST {

// Lets the rendering of times throw std::runtime_error behind so many more; a negative number lets
// all succeed again. Holds for the whole process.
void RefuseTimesAfter(long successes);

// The microseconds of the times that are rendered while it lives. For one thread, one at a time.
class RenderedTimes {
  public:
    RenderedTimes();
    ~RenderedTimes();

    RenderedTimes(const RenderedTimes&) = delete;
    RenderedTimes& operator=(const RenderedTimes&) = delete;

    // Those since the last call.
    std::vector<int64_t> Take();

  private:
    std::vector<int64_t> times_;
};

}  // namespace NS_TEST
