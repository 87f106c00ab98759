// The commands of the control bundle.
#pragma once

#include <string>

namespace NS_REFERENCE_HOST {

// Executes a request and returns the answer. Both are JSON in one line. Looks up the services by
// name each time, because bundles may be unloaded. Throws only std::bad_alloc.
//
// command   members                                data
// status                                           version, agent, mode, periodic,
//                                                  levels, asnTrace, outputParameters,
//                                                  keepsRecords, queueBytes, channels
// health                                           health (0 good, 1 warning, 2 critical), problems
// flush
// flushall  category (may be missing: all)
// reopen    category (may be missing: all)
// rotate    category (may be missing: all)
// queue     on                                     mode, periodic
// loggers                                          loggers
// level     level, on; first, second, category     (without the three: globally)
// modules                                          modules
// module    module; on (may be missing: show)      module, on
// mode      mode                                   mode
//
// An empty category is refused where a missing one means all.
//
// Thread safety: any thread.
std::string AnswerRequest(const std::string& request);

}  // namespace NS_REFERENCE_HOST
