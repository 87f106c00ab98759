// Switches queued output on and off while the service runs.
#pragma once

#include "base/mutex.h"
#include "manager/logmgr.h"

namespace NS_SCHEDULE_SERVICE1 {
class ScheduleSvcInterface;
}

namespace NS_LOG_SERVICE1 {

// A periodic task at the schedule service writes out the queues, if there is such a service. The
// task's handle is in the manager's settings, where LogMgr::SetOutputMode finds it.
//
// Thread safety: any thread may call any operation; one switches at a time, and cannot be cancelled
// meanwhile. The periodic task does not use this object, so switching off can wait for the task to
// end.
class QueuedOutput {
  public:
    QueuedOutput();

    // Both return a result code. They do nothing when the output is switched so already, except
    // that SwitchOn starts the task when there is none. When a queue cannot be written out,
    // SwitchOff writes out the others, switches off, and then passes on the first exception.
    unsigned int SwitchOn(LogMgr& manager) EXCLUDES(mutex_);
    unsigned int SwitchOff(LogMgr& manager) EXCLUDES(mutex_);

    // Ends the periodic task; the mode stays. Returns false when the schedule service refuses.
    bool EndPeriodicOutput(LogMgr& manager) EXCLUDES(mutex_);

    // Does not ask the schedule service: a task that was lost with it counts until somebody
    // switches.
    static bool HasPeriodicOutput(const LogMgr& manager);

    // In a child process: another thread of the parent may have been switching.
    void AfterForkInChild();

  private:
    using ScheduleService = NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;

    void StartTask(LogMgr& manager, ScheduleService* schedule) REQUIRES(mutex_);
    bool EndTask(LogMgr& manager) REQUIRES(mutex_);

    Mutex mutex_;  // held while output is switched
    // Who made the last task; only compared, since it may be gone. A task goes with its service,
    // and the next service may give its handle to another task. A new service at the address of the
    // old one cannot be told from it: it is asked to delete the task, and may refuse.
    const ScheduleService* taskMaker_ GUARDED_BY(mutex_) = nullptr;
};

}  // namespace NS_LOG_SERVICE1
