// The log files of one category of one process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "format/record.h"

namespace NS_LOG_READER {

struct LogFile {
    LogFileName name;
    Time created = 0;          // when it, or its first record, was written
    uint32_t firstNumber = 0;  // 0: it holds no frame near its beginning
    bool isCompressed = false;
    int64_t id = 0;  // in a store
};

// All files of one category of one process, in the order of their numbers.
struct Series {
    std::string directory;
    std::string category;
    int64_t process = 0;
    std::vector<LogFile> files;
    std::string host = {};  // empty: this one
};

// What the name of a log file tells: unbi_<category>_<yyyymmdd>_<hhmmss>_<process>.log, with .gz or
// .zst at its end. No value: it is no such name.
struct NameParts {
    std::string category;
    std::string second;  // "20240305_140709", in the local time of the agent
    int64_t process = 0;
};
std::optional<NameParts> ParseLogFileName(const std::string& path);

// When the file was created: as its first line says, which has a zone, or else as its name does, in
// the zone of this machine. No value: it is no log file by its name.
std::optional<Time> ReadCreation(const std::string& path);

// Puts the files of one category and process number in the order of their creation, and adds a
// series for each process. `place` tells all but the files. `files` has equal ones by their names.
void AddSeries(const Series& place, std::vector<LogFile> files, std::vector<Series>& all);

// In the order of their creation.
void SortSeries(std::vector<Series>& all);

// The series of the given files and directories (of these, all files with names of log files; a
// compressed copy beside its original or another copy does not count). A file with several paths is
// taken once. A file with another name is a series by itself. Process numbers recur: a series ends
// where the numbers start again. The order is that of creation. What cannot be read is reported
// into `problems`, one text each.
std::vector<Series> FindSeries(const std::vector<std::string>& paths,
                               std::vector<std::string>& problems);

}  // namespace NS_LOG_READER
