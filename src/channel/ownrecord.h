// The records that a channel writes of its own accord.
#pragma once

#include <cstdint>
#include <string>

#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

// A record of the present time with the number of the calling thread and without a context. Borrows
// the texts. Any thread.
LogRecord OwnRecord(int level, const char* function, const char* detail, uint32_t line);

// Returns the calling thread's context for such a record, or nothing when there is no memory for
// it: a notice without its context is better than a queue that stays full. Any thread.
std::string ContextIfPossible();

}  // namespace NS_LOG_SERVICE1
