// The log record: everything that is needed to print one entry later, on another thread if need be.
#pragma once

#include <ace/Time_Value.h>
#include <pthread.h>

#include <cstdint>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// What the logger hands down for one call. The texts are borrowed from the call and are good until
// it returns; whoever keeps a record longer keeps a PackedRecord, or appends it to a RecordQueue.
struct LogRecord {
    int32_t level = 0;
    ACE_Time_Value time;
    pthread_t thread = 0;
    // The logger's identifying strings. They do not reach the files.
    std::string_view firstName;
    std::string_view secondName;
    std::string_view file;
    std::string_view function;
    uint32_t line = 0;
    std::string_view detail;
    std::string_view context;
};

}  // namespace NS_LOG_SERVICE1
