// The schedule service as other bundles see it.
#pragma once

#include <string>

#include "schedule/periodictasks.h"
#include "schedule/schedulesvcinterface.h"
#include "schedule/taskscheduler.h"

namespace NS_REFERENCE_HOST {

// Thread safety: any thread may call any operation but Start and Stop, which are the service
// object's.
class ScheduleService final : public NS_SCHEDULE_SERVICE1::ScheduleSvcInterface,
                              public NS_SCHEDULE_SERVICE1::PeriodicTasks {
  public:
    std::string GetIFName() const override;
    bool IsValid() const override { return true; }
    int Reserved4() override { return 0; }
    int Reserved5() override { return 0; }

    // Also works after Stop, so that services that end later can delete their tasks.
    int DeleteTask(int64_t handle) override;

    // Returns -1 for an interval of 0, and after Stop.
    int64_t CreatePeriodicTask(uint32_t intervalSeconds,
                               NS_SCHEDULE_SERVICE1::ScheduledTask& task) override;

    void Start() { scheduler_.Start(); }
    void Stop() { scheduler_.Stop(); }

  private:
    TaskScheduler scheduler_;
};

}  // namespace NS_REFERENCE_HOST
