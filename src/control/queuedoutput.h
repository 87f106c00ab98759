// Switching queued output on and off while the service runs.
#pragma once

#include <ace/Thread_Mutex.h>

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
    unsigned int SwitchOn(LogMgr& manager);
    unsigned int SwitchOff(LogMgr& manager);

    // Takes the periodic task away; the mode stays. Returns false when the schedule service
    // refuses.
    bool EndPeriodicOutput(LogMgr& manager);

    static bool HasPeriodicOutput(const LogMgr& manager);

  private:
    static void StartPeriodicOutput(LogMgr& manager);

    ACE_Thread_Mutex mutex_;  // held while output is switched
};

}  // namespace NS_LOG_SERVICE1
