// Fatal signals: what is queued is written before the process dies.
#pragma once

#include <memory>

#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_REFERENCE_HOST {

// As long as the object lives, SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT have the logging service
// write out its queues. Then the handler is called that the process had for the signal before, and
// then the default action happens: the process dies of the signal.
//
// The signal's handler only wakes a thread, which was started in time, and waits for it for two
// seconds at most. So the process dies whatever lock the dying thread holds, the heap's too.
//
// Thread safety: one object at a time, made and destroyed by one thread.
class FatalSignals {
  public:
    // Null when the process runs no logging service that can do this. Throws std::system_error.
    static std::unique_ptr<FatalSignals> Watch();

    // `service` lives longer.
    explicit FatalSignals(NS_LOG_SERVICE1::LogMaintenanceInterface& service);

    // Gives the signals back to the handlers that they had before.
    ~FatalSignals();

    FatalSignals(const FatalSignals&) = delete;
    FatalSignals& operator=(const FatalSignals&) = delete;
};

}  // namespace NS_REFERENCE_HOST
