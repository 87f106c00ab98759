// Creating periodic tasks at the schedule service.
#pragma once

#include <cstdint>

namespace NS_SCHEDULE_SERVICE1 {

// What a task does. The schedule service calls it on its thread, never twice at once. It catches
// what the task throws, and the task goes on.
class ScheduledTask {
  public:
    virtual ~ScheduledTask() = default;

    // The task's work, once.
    virtual void Run() = 0;
};

// Offered by schedule services that let bundles create tasks. It is not registered: obtain it from
// the ScheduleSvcInterface by dynamic_cast, because other schedule services may offer the deletion
// only.
//
// Thread safety: any thread.
class PeriodicTasks {
  public:
    virtual ~PeriodicTasks() = default;

    // Runs `task` every `intervalSeconds` seconds (1 or more), for the first time after one
    // interval, until ScheduleSvcInterface::DeleteTask is called with the returned handle. A handle
    // is 1 or more; 0 is no task's. Returns a negative number when the service takes no more tasks.
    // REQUIRES: the task lives until it is deleted.
    virtual int64_t CreatePeriodicTask(uint32_t intervalSeconds, ScheduledTask& task) = 0;
};

}  // namespace NS_SCHEDULE_SERVICE1
