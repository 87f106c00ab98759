// What a log file has done so far.
#pragma once

#include <string>

#include "base/published.h"
#include "channel/counter.h"

namespace NS_LOG_SERVICE1 {

// Changed by the LogFile, read by any thread.
struct LogFileStatistics {
    Counter recordsWritten;      // in frames of their own, and as triggers of dumps
    Counter recordsDumped;       // kept back first, then written inside a dump
    Counter recordsDropped;      // no file could be opened, a write failed, or no memory
    Counter writtenOverwritten;  // of recordsWritten: lost later, as their file was emptied
    Counter dumpedOverwritten;   // of recordsDumped: the same
    Counter bytesWritten;        // everything that reached the files
    Counter bytesEmptied;        // in files that were emptied when they were opened
    Counter rotations;           // files opened in the place of another one
    Counter failures;            // of opening, writing and closing
    Counter failing;             // 1: the last attempt to open or to write a file failed
    Counter lastError;           // errno of the last failure; 0: none yet
    Counter lastErrorSecond;     // when it was, in seconds of the wall clock
    Published<std::string> lastErrorFile;  // the path that it was about
};

}  // namespace NS_LOG_SERVICE1
