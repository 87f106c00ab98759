// Prints what a run of the agent has left in its log directory.
#pragma once

#include <sys/types.h>
#include <time.h>

#include <ostream>

namespace NS_REFERENCE_HOST {

// Made at the start of a run, used at its end.
//
// Thread safety: one thread.
class LogFileSummary {
  public:
    LogFileSummary();

    // Prints path, size and last record of each log file that this process has written since the
    // object was made. A log file carries its process's number at the end of its name. What would
    // disturb a terminal is shown as \xNN.
    void Print(std::ostream& out) const;

  private:
    timespec start_;
};

}  // namespace NS_REFERENCE_HOST
