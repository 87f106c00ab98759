// SIGINT and SIGTERM as something that can be waited for.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Blocks both signals, so that they wait in the descriptor instead of interrupting anybody. Make it
// before the first other thread starts: threads inherit what is blocked. SIGPIPE is ignored, so
// that a reader that goes away does not end the process in the middle.
//
// Thread safety: one thread.
class StopSignals {
  public:
    // Throws std::system_error.
    StopSignals();
    ~StopSignals();

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // Polls as readable once a signal has arrived, and stays so.
    int Descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

}  // namespace NS_REFERENCE_HOST
