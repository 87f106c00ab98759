// The schedule service as other bundles see it.
#include "schedule/scheduleservice.h"

#include <chrono>

namespace NS_REFERENCE_HOST {

namespace {

constexpr int kDeleted = 0;
constexpr int kNoSuchTask = 1;

}  // namespace

std::string ScheduleService::GetIFName() const {
    return "ScheduleSvcInterface";
}

int ScheduleService::DeleteTask(int64_t handle) {
    return scheduler_.Delete(handle) ? kDeleted : kNoSuchTask;
}

int64_t ScheduleService::CreatePeriodicTask(uint32_t intervalSeconds,
                                            NS_SCHEDULE_SERVICE1::ScheduledTask& task) {
    return scheduler_.Create(std::chrono::seconds(intervalSeconds), task);
}

}  // namespace NS_REFERENCE_HOST
