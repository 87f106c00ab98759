// The entry point of the northbound bundle.
#include "bundle/northboundserviceobject.h"
#include "bundlemgr/platformapi.h"
#include "common/serviceobjectfactory.h"

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_qv_northbound(
    ACE_Service_Object_Exterminator* gobbler) {
    using NS_NORTHBOUND::NorthboundServiceObject;
    return NS_REFERENCE_HOST::MakeServiceObject<NorthboundServiceObject>(gobbler);
}
