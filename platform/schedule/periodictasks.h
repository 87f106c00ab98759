// Creating periodic tasks at the schedule service.
#pragma once

#include <cstdint>

namespace NS_SCHEDULE_SERVICE1 {

// What a task does. Called on the schedule service's thread, never twice at once; what it throws is
// caught there, and the task goes on.
class ScheduledTask {
  public:
    virtual ~ScheduledTask() = default;
    virtual void Run() = 0;
};

// Offered by the schedule services that let bundles create tasks. Not an interface of its own in
// the registry: whoever holds a ScheduleSvcInterface asks it by dynamic_cast, because services
// built elsewhere may offer the deletion alone.
//
// Thread safety: any thread.
class PeriodicTasks {
  public:
    virtual ~PeriodicTasks() = default;

    // Runs `task` every `intervalSeconds` seconds (at least 1), for the first time after one
    // interval, until ScheduleSvcInterface::DeleteTask is called with the handle that this returns.
    // The caller keeps the task alive until then. A handle is 1 or more: bundles keep 0 for a task
    // that they never had. Returns a negative number when the service takes no more tasks.
    virtual int64_t CreatePeriodicTask(uint32_t intervalSeconds, ScheduledTask& task) = 0;
};

}  // namespace NS_SCHEDULE_SERVICE1
