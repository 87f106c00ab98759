// The schedule service: tasks that run later, or again and again.
#pragma once

#include <cstdint>

#include "bundlemgr/serviceinterface.h"

namespace NS_SCHEDULE_SERVICE1 {

// Registered as "ScheduleSvcInterface". Virtual slots: 0 to 3 ServiceInterface, then as declared.
// The meaning of the operations that are called ReservedN is the platform's own; N is the slot.
//
// Thread safety: any thread may call DeleteTask.
class ScheduleSvcInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    virtual int Reserved4() = 0;
    virtual int Reserved5() = 0;

    // Slot 6. Ends the task that `handle` names: it will not start again, and does not run when
    // the call returns (a task that deletes itself from inside its own callback just ends after
    // it). Returns 0, or another value when there is no such task.
    virtual int DeleteTask(int64_t handle) = 0;
};

}  // namespace NS_SCHEDULE_SERVICE1
