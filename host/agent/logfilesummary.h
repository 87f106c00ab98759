// Prints what a run of the agent has left in its log directory.
#pragma once

#include <sys/types.h>
#include <time.h>

#include <map>
#include <ostream>
#include <string>

namespace NS_REFERENCE_HOST {

// Made before the log directory is written to, used at the end of the run.
//
// Thread safety: one thread.
class LogFileSummary {
  public:
    // Notes the files of this process's number that are there already: an earlier process may have
    // had the number. It is at the end of a log file's name.
    explicit LogFileSummary(const std::string& directory);

    // Prints the path, the size and the last record of each file of this number that is new or has
    // changed since. Control characters and the like are shown as \xNN.
    void Print(std::ostream& out) const;

  private:
    // What tells whether a file was written. A time alone would not: clocks are set back.
    struct Trace {
        ino_t file;
        off_t size;
        time_t seconds;
        long nanoseconds;
    };
    using Traces = std::map<std::string, Trace>;  // by path

    static Traces FindFiles(const std::string& directory);
    bool IsWritten(const std::string& path, const Trace& trace) const;

    const std::string directory_;
    const Traces before_;
};

}  // namespace NS_REFERENCE_HOST
