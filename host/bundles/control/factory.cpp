// The entry point of the control bundle.
#include "bundlemgr/platformapi.h"
#include "common/serviceobjectfactory.h"
#include "control/controlserviceobject.h"

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_qv_control(
    ACE_Service_Object_Exterminator* gobbler) {
    using NS_REFERENCE_HOST::ControlServiceObject;
    return NS_REFERENCE_HOST::MakeServiceObject<ControlServiceObject>(gobbler);
}
