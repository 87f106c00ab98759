#include "channel/ownrecord.h"

#include <ace/OS_NS_sys_time.h>
#include <pthread.h>

#include <new>

#include "record/contextheader.h"

namespace NS_LOG_SERVICE1 {

LogRecord OwnRecord(int level, const char* function, const char* detail, uint32_t line) {
    LogRecord record;
    record.level = level;
    record.time = ACE_OS::gettimeofday();
    record.thread = pthread_self();
    record.firstName = "base";
    record.secondName = "log";
    record.function = function;
    record.line = line;
    record.detail = detail;
    return record;
}

std::string ContextIfPossible() {
    try {
        return BuildContextHeader();
    } catch (const std::bad_alloc&) {
        return std::string();
    }
}

}  // namespace NS_LOG_SERVICE1
