// Reads the service's log files back into records.
#pragma once

#include <string>
#include <vector>

namespace NS_TEST {

// One record of a log file. A value.
struct LoggedRecord {
    unsigned long number = 0;  // 0 for a short record
    int level = 0;             // -2 for a short record
    std::string context;
    std::string thread;
    std::string file;
    std::string function;
    unsigned long line = 0;
    std::string detail;
    bool isDump = false;
    std::vector<std::string> history;  // of a dump: the lines between its banners
};

// The records of the file at `path`, in order. Throws std::runtime_error, with the place, when the
// file does not consist of a creation line, records and a closing line from its first byte to its
// last.
std::vector<LoggedRecord> ParseLogFile(const std::string& path);

}  // namespace NS_TEST
