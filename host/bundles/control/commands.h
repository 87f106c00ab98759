// What the control bundle does for its clients.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Carries out a request and makes the answer, both JSON in one line. The services are looked up by
// name each time, since their bundles may come and go. Never throws but for lack of memory.
//
// command   members                                data
// status                                           version, mode, periodic, channels
// flush
// flushall  category (may be missing: all)
// queue     on                                     mode, periodic
// loggers                                          loggers
// level     level, on; first, second, category     (without the three: globally)
// modules                                          modules
// module    module; on (may be missing: show)      module, on
// mode      mode                                   mode
//
// Thread safety: any thread.
std::string AnswerRequest(const std::string& request);

}  // namespace NS_REFERENCE_HOST
