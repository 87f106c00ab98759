// The log record: all that is needed to write one entry, also later and on another thread.
#pragma once

#include <ace/Time_Value.h>
#include <pthread.h>

#include <cstdint>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// The logger makes one for each call. It does not own its texts: they are valid until the call
// returns. To keep a record longer, make a PackedRecord of it or append it to a RecordQueue.
struct LogRecord {
    int32_t level = 0;
    ACE_Time_Value time;
    pthread_t thread = 0;
    // The logger's identifying strings. They are not written to files.
    std::string_view firstName;
    std::string_view secondName;
    std::string_view file;
    std::string_view function;
    uint32_t line = 0;
    std::string_view detail;
    std::string_view context;
};

}  // namespace NS_LOG_SERVICE1
