// Keeps to a number of bytes per second.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace NS_LOG_FLEET {

// What was not used up within a second is not saved for later.
//
// Thread safety: none.
class Pace {
  public:
    using Clock = std::chrono::steady_clock;

    // 0: without a limit.
    explicit Pace(uint64_t bytesPerSecond) : rate_(bytesPerSecond) {}

    // `bytes` were sent at `now`. Returns how long to wait before the next are.
    Clock::duration Spend(uint64_t bytes, Clock::time_point now) {
        if (rate_ == 0) {
            return Clock::duration::zero();
        }
        free_ = std::max(free_, now - std::chrono::seconds(1));
        free_ += std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(static_cast<double>(bytes) / static_cast<double>(rate_)));
        return std::max(free_ - now, Clock::duration::zero());
    }

    // What is taken of one file before the next one has its turn. With a limit, what goes at once
    // is sent within a quarter of a second.
    size_t PartSize() const {
        constexpr size_t most = size_t{1} << 20;
        return rate_ == 0 ? most : std::clamp<uint64_t>(rate_ / 4, 1, most);
    }

  private:
    const uint64_t rate_;
    Clock::time_point free_{};  // when all that was sent will have been paid for
};

}  // namespace NS_LOG_FLEET
