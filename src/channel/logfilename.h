// The names of log files.
#pragma once

#include <string>

namespace NS_LOG_SERVICE1 {

// Every log file's name begins with this.
extern const char* const kLogFileSeries;

// "unbi" + "_" + category + "_": what the names of a category's files begin with.
std::string LogFilePrefix(const std::string& category);

// The name of a file created now: prefix, local time and process number. Two files of one series
// that are created within one second get the same name: the naming rule has second resolution.
std::string NewLogFileName(const std::string& prefix);

// Orders the names of one series by age, the oldest first: compares the time stamp and what stands
// behind it as text. Throws std::out_of_range for a name without a stamp.
bool CompareFileNames(const std::string& a, const std::string& b);

// Whether `name`, an entry of `directory`, is a log file: a regular file with a name that begins as
// all series do, is long enough for `prefix` and ends in ".log".
bool IsLogFileName(const std::string& directory, const std::string& prefix, const char* name);

}  // namespace NS_LOG_SERVICE1
