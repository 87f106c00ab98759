#include "control/queuedoutput.h"

#include <algorithm>

#include "base/clientwork.h"
#include "base/firstexception.h"
#include "base/lockguard.h"
#include "base/nodestructor.h"
#include "base/renew.h"
#include "bundlemgr/processexception.h"
#include "lookup/interfacelookup.h"
#include "qv_base_log/resultcode.h"
#include "schedule/periodictasks.h"
#include "schedule/schedulesvcinterface.h"

namespace NS_LOG_SERVICE1 {

using NS_SCHEDULE_SERVICE1::PeriodicTasks;
using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;

namespace {

// Has no state and is never destroyed: a schedule service that refuses to delete the task may run
// it after the object that started it is gone.
class PeriodicOutput : public NS_SCHEDULE_SERVICE1::ScheduledTask {
  public:
    void Run() override {
        if (LogMgr* manager = LogMgr::InstanceIfAny()) {
            manager->FlushAll();
        }
    }
};

PeriodicOutput& ThePeriodicOutput() {
    static NoDestructor<PeriodicOutput> task;
    return *task;
}

// Returns null when there is none.
ScheduleSvcInterface* FindScheduleService() {
    try {
        return &LookUp<ScheduleSvcInterface>("ScheduleSvcInterface");
    } catch (const NS_BUNDLEMGR1::InterfaceNotExistException&) {
        return nullptr;
    }
}

// Channel by channel, and not through the manager, which keeps its channels locked meanwhile. Goes
// on after a channel that throws.
void WriteOut(LogMgr& manager, FirstException& exception) {
    manager.Channels().ForEach([&exception](const char* /*name*/, TEDebugInfoBuf& channel) {
        exception.Attempt([&channel] { channel.Flush(); });
    });
}

}  // namespace

// The task is made here, where no fork is expected: a child would wait for ever for a static object
// that another thread of the parent was making.
QueuedOutput::QueuedOutput() {
    ThePeriodicOutput();
}

unsigned int QueuedOutput::SwitchOn(LogMgr& manager) {
    const ClientWork work;
    const LockGuard<Mutex> guard(mutex_);
    ScheduleSvcInterface* schedule = FindScheduleService();
    // Output may be queued without the task: LogMgr::SetOutputMode ends the task only, and the
    // schedule service may have gone.
    if (!HasPeriodicOutput(manager) || schedule != taskMaker_) {
        StartTask(manager, schedule);
    }
    manager.outputmode = kQueuedOutput;
    return LOG_RESULT_OK;
}

unsigned int QueuedOutput::SwitchOff(LogMgr& manager) {
    const ClientWork work;
    const LockGuard<Mutex> guard(mutex_);
    if (manager.outputmode == kDirectOutput) {
        return LOG_RESULT_OK;
    }
    if (!EndTask(manager)) {
        return LOG_RESULT_DELETE_TASK_FAILED;
    }
    // Records that are written directly overtake those in the queue. The first flush leaves few to
    // be overtaken; the second writes those that were queued meanwhile. Without the task nobody
    // else writes out the queues, so output becomes direct whatever they throw.
    FirstException exception;
    WriteOut(manager, exception);
    manager.outputmode = kDirectOutput;
    WriteOut(manager, exception);
    exception.PassOn();
    return LOG_RESULT_OK;
}

bool QueuedOutput::EndPeriodicOutput(LogMgr& manager) {
    const LockGuard<Mutex> guard(mutex_);
    return EndTask(manager);
}

bool QueuedOutput::EndTask(LogMgr& manager) {
    if (!HasPeriodicOutput(manager)) {
        return true;
    }
    // When the service is gone, so are its tasks.
    ScheduleSvcInterface* schedule = FindScheduleService();
    if (schedule != nullptr && schedule == taskMaker_ &&
        schedule->DeleteTask(manager.outputTask) != 0) {
        return false;
    }
    manager.outputTask = kNoOutputTask;
    return true;
}

void QueuedOutput::AfterForkInChild() {
    Renew(mutex_);
}

bool QueuedOutput::HasPeriodicOutput(const LogMgr& manager) {
    return manager.outputTask > 0;
}

void QueuedOutput::StartTask(LogMgr& manager, ScheduleSvcInterface* schedule) {
    manager.outputTask = kNoOutputTask;
    taskMaker_ = schedule;
    if (auto* tasks = dynamic_cast<PeriodicTasks*>(schedule)) {
        const uint32_t interval = std::max<uint32_t>(manager.logtimeinterval, 1);
        manager.outputTask =
            std::max(tasks->CreatePeriodicTask(interval, ThePeriodicOutput()), kNoOutputTask);
    }
}

}  // namespace NS_LOG_SERVICE1
