// The entry point of the line-feed bundle.
#include "bundlemgr/platformapi.h"
#include "common/serviceobjectfactory.h"
#include "linefeed/linefeedserviceobject.h"

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_qv_line_feed(
    ACE_Service_Object_Exterminator* gobbler) {
    return NS_REFERENCE_HOST::MakeServiceObject<NS_REFERENCE_HOST::LineFeedServiceObject>(gobbler);
}
