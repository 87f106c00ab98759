// Switching queued output on and off while the service runs.
#pragma once

#include "base/mutex.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {

// Queued output goes with a periodic task at the schedule service, where there is one that takes
// tasks; its handle stands in the manager's settings, where LogMgr::SetOutputMode finds it.
//
// Thread safety: any thread; one switching at a time. The periodic task knows nothing of this
// object, so that switching off can wait for it.
class QueuedOutput {
  public:
    // Both return a result code and change nothing when things are as wanted already. Switching on
    // starts the task whenever there is none and the schedule service takes one.
    unsigned int SwitchOn(LogMgr& manager) EXCLUDES(mutex_);
    unsigned int SwitchOff(LogMgr& manager) EXCLUDES(mutex_);

    // Takes the periodic task away; the mode stays. Returns false when the schedule service
    // refuses.
    bool EndPeriodicOutput(LogMgr& manager);

    static bool HasPeriodicOutput(const LogMgr& manager);

  private:
    static void StartPeriodicOutput(LogMgr& manager);

    Mutex mutex_;  // guards no field: held while output is switched
};

}  // namespace NS_LOG_SERVICE1
