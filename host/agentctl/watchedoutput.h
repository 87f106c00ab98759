// Standard output that ends with a signal or with its reader.
#pragma once

#include <chrono>
#include <string>

#include "agent/stopsignals.h"

namespace NS_REFERENCE_HOST {

// Thread safety: one thread. REQUIRES: no other thread runs when the object is made.
class WatchedOutput {
  public:
    // Shows a new state: replaces the last one on a terminal, and appends to it elsewhere. Returns
    // false when a signal has arrived or the reader has gone.
    bool Show(const std::string& text);

    // Polls as readable once a signal has arrived.
    int StopDescriptor() const { return signals_.Descriptor(); }

    // Waits for that time. Returns false as Show does.
    bool Wait(std::chrono::milliseconds time);

  private:
    bool WaitFor(short events, std::chrono::steady_clock::time_point deadline, bool& ready);
    bool Write(const std::string& text);

    const StopSignals signals_;
};

}  // namespace NS_REFERENCE_HOST
