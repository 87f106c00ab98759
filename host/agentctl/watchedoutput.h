// Standard output that ends with a signal or with its reader.
#pragma once

#include <chrono>
#include <string>

#include "process/stopsignals.h"

namespace NS_REFERENCE_HOST {

// On a terminal, has the alternate screen from the first text to its end, so that the lines above
// stay as they are.
//
// Thread safety: one thread. REQUIRES: no other thread runs when the object is made.
class WatchedOutput {
  public:
    WatchedOutput() = default;
    ~WatchedOutput();

    WatchedOutput(const WatchedOutput&) = delete;
    WatchedOutput& operator=(const WatchedOutput&) = delete;

    // Shows a new state: replaces the last one on a terminal, as far as it has lines for it, and
    // appends to it elsewhere. Returns false when a signal has arrived or the reader has gone.
    // Throws ControlError when the output cannot be written for another reason.
    bool Show(const std::string& text);

    // Polls as readable once a signal has arrived.
    int StopDescriptor() const { return signals_.Descriptor(); }

    // Waits for that time. Returns false as Show does.
    bool Wait(std::chrono::milliseconds time);

  private:
    bool WaitFor(short events, std::chrono::steady_clock::time_point deadline, bool& ready);
    bool Write(const std::string& text);

    const StopSignals signals_;
    bool isOnAlternateScreen_ = false;
};

}  // namespace NS_REFERENCE_HOST
