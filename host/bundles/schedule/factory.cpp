// The entry point of the schedule bundle.
#include "bundlemgr/platformapi.h"
#include "common/serviceobjectfactory.h"
#include "schedule/scheduleserviceobject.h"

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_qv_schedule(
    ACE_Service_Object_Exterminator* gobbler) {
    using NS_REFERENCE_HOST::ScheduleServiceObject;
    return NS_REFERENCE_HOST::MakeServiceObject<ScheduleServiceObject>(gobbler);
}
