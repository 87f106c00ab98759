// The names of log files.
#pragma once

#include <string>

namespace NS_LOG_SERVICE1 {

// Every log file's name begins with this.
extern const char* const kLogFileSeries;

// The names of a category's files begin with "unbi" + "_" + category + "_".
std::string LogFilePrefix(const std::string& category);

// Returns the name of a file that is created now: prefix, local time and process number. Two files
// of one category that are created within one second get the same name: the naming rule has second
// resolution; see docs/compatibility.md.
std::string NewLogFileName(const std::string& prefix);

// Returns whether `a` is older than `b`: compares the time stamps and what follows them as text.
// Throws std::out_of_range for a name without a stamp.
bool CompareFileNames(const std::string& a, const std::string& b);

// Whether `name`, an entry of `directory`, is a log file: a regular file with a name that begins as
// all series do, is long enough for `prefix` and ends in ".log".
bool IsLogFileName(const std::string& directory, const std::string& prefix, const char* name);

}  // namespace NS_LOG_SERVICE1
