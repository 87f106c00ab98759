// Standard output, for as long as somebody wants it.
#pragma once

#include <chrono>
#include <string>

#include "agent/stopsignals.h"

namespace NS_REFERENCE_HOST {

// Thread safety: one thread, and no other one before it exists.
class WatchedOutput {
  public:
    // Shows a new state: on a terminal in the place of the last one, elsewhere behind it. False: a
    // signal asks for the end, or nobody reads any more.
    bool Show(const std::string& text);

    // Polls as readable once a signal asks for the end.
    int StopDescriptor() const { return signals_.Descriptor(); }

    // Waits. False: as with Show.
    bool Wait(std::chrono::milliseconds time);

  private:
    bool WaitFor(short events, std::chrono::steady_clock::time_point deadline, bool& ready);
    bool Write(const std::string& text);

    const StopSignals signals_;
};

}  // namespace NS_REFERENCE_HOST
