// Times as people write them.
#pragma once

#include <optional>
#include <string>

#include "format/stamp.h"

namespace NS_LOG_READER {

// What a time is to bound.
enum class Bound { Since, Until };

// Reads
//     2026-03-05T14:07:09.5+01:00   a date; a time, seconds, a fraction and a zone may follow;
//                                   "T" or a blank before the time; this machine's zone by default
//     14:07, 14:07:09               the last time that the clock showed it; given `after`, the
//                                   first time after that
//     now, today, yesterday, tomorrow
//     10 min ago, 2 hours ago, -1h, -90s
//     @1772715600                   seconds since 1970
// A clock that is set back shows an hour twice: of a date and time in it, `bound` says which is
// meant, so that a range holds all that may be.
// Throws BadRequest for anything else.
Time ParseTimeExpression(const std::string& text, Time now, std::optional<Time> after = {},
                         Bound bound = Bound::Since);

// "30d", "12 hours", "90s" in microseconds. Throws BadRequest.
Time ParseDuration(const std::string& text);

}  // namespace NS_LOG_READER
