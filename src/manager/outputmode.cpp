// Switching the output mode while the service runs.

#include "bundlemgr/processexception.h"
#include "diagnostic/messages.h"
#include "lookup/interfacelookup.h"
#include "lookup/ownlogger.h"
#include "manager/logmgr.h"
#include "qv_base_log/resultcode.h"
#include "schedule/schedulesvcinterface.h"

namespace NS_LOG_SERVICE1 {
namespace {

constexpr unsigned int kModeDirect = 0;
constexpr unsigned int kModeQueued = 1;
constexpr int64_t kNoTask = -1;

}  // namespace

// Mode 1 is acknowledged but not entered, and the mode itself is never written here: switching to
// 0 takes the periodic task away and nothing else. Whoever wants queued output switched on and off
// for real uses the maintenance interface.
unsigned int LogMgr::SetOutputMode(const unsigned int& mode) {
    if (mode == outputmode || mode == kModeQueued) {
        return LOG_RESULT_OK;
    }
    if (mode != kModeDirect) {
        return LOG_RESULT_INVALID_OUTPUT_MODE;
    }
    const int64_t task = outputTask;
    try {
        auto& schedule = LookUp<NS_SCHEDULE_SERVICE1::ScheduleSvcInterface>("ScheduleSvcInterface");
        if (schedule.DeleteTask(task) != 0) {
            kTaskNotDeleted.Report();
            return LOG_RESULT_DELETE_TASK_FAILED;
        }
    } catch (const NS_BUNDLEMGR1::InterfaceNotExistException& exception) {
        ReportException(exception);
        return LOG_RESULT_INTERFACE_NOT_EXIST;
    }
    // A task that was started meanwhile stays known.
    outputTask.Update([task](int64_t now) { return now == task ? kNoTask : now; });
    return LOG_RESULT_OK;
}

}  // namespace NS_LOG_SERVICE1
