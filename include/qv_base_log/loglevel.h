// The levels of a log record.
#pragma once

namespace NS_LOG_SERVICE1 {

// Levels 0 to 3 have a switch each. A level above 3 is recorded as 3. Negative levels have no
// switch: such a record is always written.
enum LogLevel {
    // The gravest level. With a record of it whose level is on, the service writes the history of
    // the category: the records that were kept back because their level was off.
    LOG_LEVEL_0 = 0,
    LOG_LEVEL_1 = 1,
    LOG_LEVEL_2 = 2,
    // The most talkative level, and the level of alarms and of masked ASN traces.
    LOG_LEVEL_3 = 3,

    // An ASN message, printed as it is.
    LOG_LEVEL_ASN_DUMP = -1,
    // A short record: one line with the time stamp and the text, and nothing else.
    LOG_LEVEL_SHORT = -2
};

// The number of levels that have a switch.
enum { LOG_LEVEL_COUNT = 4 };

}  // namespace NS_LOG_SERVICE1
