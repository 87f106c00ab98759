// The times that stand in log files, such as 2024-03-05T14:07:09.000123+01:00.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace NS_LOG_READER {

// Microseconds since 1970-01-01T00:00:00Z.
using Time = int64_t;

constexpr Time kMicrosPerSecond = 1000000;

// The length of the time stamp that stands at the beginning of the text; 0: none does. Years of
// more than four digits, and bare counts of seconds ("@12.000000"), are time stamps too.
size_t StampLength(std::string_view text);

// Reads the time stamp at the beginning of the text. Returns its length; 0: none stands there.
size_t ParseStamp(std::string_view text, Time& time);

// The time as a stamp of this machine's zone.
std::string FormatLocalStamp(Time time);

// Days since 1970-01-01 of a date of the Gregorian calendar.
int64_t DaysSinceEpoch(int64_t year, unsigned month, unsigned day);

}  // namespace NS_LOG_READER
