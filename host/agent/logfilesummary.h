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

    // Prints the path, the size and the last record of each log file that this process has written
    // since the object was made. The process number is at the end of a log file's name. Control
    // characters and the like are shown as \xNN.
    void Print(std::ostream& out) const;

  private:
    timespec start_;
};

}  // namespace NS_REFERENCE_HOST
