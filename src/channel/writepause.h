// The time between two attempts at what fails.
#pragma once

#include <cstdint>

namespace NS_LOG_SERVICE1 {

// Each pause is twice as long as the one before, up to one second, until an attempt succeeds. So a
// short failure costs few records, and a long one costs one attempt a second.
//
// The clock is the one that nobody sets: a clock that is set back would make a pause longer.
//
// Thread safety: none; the owner's lock guards it.
class WritePause {
  public:
    // An attempt has failed: begins the next pause.
    void Begin();

    // An attempt has succeeded.
    void End() { length_ = 0; }

    // Whether an attempt may be made now.
    bool IsOver() const;

  private:
    // In microseconds; 0: no pause.
    int64_t length_ = 0;
    int64_t end_ = 0;
};

}  // namespace NS_LOG_SERVICE1
