// Switches queued output on and off while the service runs.
#pragma once

#include "base/mutex.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {

// A periodic task at the schedule service writes out the queues, if there is such a service. The
// task's handle is in the manager's settings, where LogMgr::SetOutputMode finds it.
//
// Thread safety: any thread may call any operation; one switches at a time. The periodic task does
// not use this object, so switching off can wait for the task to end.
class QueuedOutput {
  public:
    QueuedOutput();

    // Both return a result code. They do nothing when the output is switched so already, except
    // that SwitchOn starts the task when there is none.
    unsigned int SwitchOn(LogMgr& manager) EXCLUDES(mutex_);
    unsigned int SwitchOff(LogMgr& manager) EXCLUDES(mutex_);

    // Ends the periodic task; the mode stays. Returns false when the schedule service refuses.
    bool EndPeriodicOutput(LogMgr& manager);

    static bool HasPeriodicOutput(const LogMgr& manager);

    // In a child process: another thread of the parent may have been switching.
    void AfterForkInChild();

  private:
    static void StartPeriodicOutput(LogMgr& manager);

    Mutex mutex_;  // guards no field: held while output is switched
};

}  // namespace NS_LOG_SERVICE1
