// The schedule service: tasks that run later, or again and again.
#pragma once

#include <cstdint>

#include "bundlemgr/serviceinterface.h"

namespace NS_SCHEDULE_SERVICE1 {

// Registered as "ScheduleSvcInterface". Virtual slots: 0 to 3 ServiceInterface, then as declared.
// Only the platform knows what the operations ReservedN mean; N is the slot.
//
// Thread safety: any thread may call DeleteTask.
class ScheduleSvcInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    // The platform's own.
    virtual int Reserved4() = 0;
    virtual int Reserved5() = 0;

    // Slot 6. Ends the task of this handle: waits until it does not run, and it never starts again.
    // A task may delete itself; it ends when its run is over. Returns 0, or another value when
    // there is no such task.
    virtual int DeleteTask(int64_t handle) = 0;
};

}  // namespace NS_SCHEDULE_SERVICE1
