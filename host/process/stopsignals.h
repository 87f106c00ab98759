// SIGINT and SIGTERM as something that can be waited for.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Blocks both signals and receives them through a descriptor. Ignores SIGPIPE, so that a reader
// that goes away does not end the process. REQUIRES: no other thread runs yet, because threads
// inherit the blocked signals.
//
// Thread safety: one thread.
class StopSignals {
  public:
    // Throws std::system_error.
    StopSignals();
    ~StopSignals();

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    // Polls as readable once a signal has arrived, and remains so.
    int Descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

}  // namespace NS_REFERENCE_HOST
