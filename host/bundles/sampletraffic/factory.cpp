// The entry point of the sample-traffic bundle.
#include "bundlemgr/platformapi.h"
#include "common/serviceobjectfactory.h"
#include "sampletraffic/sampletrafficserviceobject.h"

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_qv_sample_traffic(
    ACE_Service_Object_Exterminator* gobbler) {
    using NS_REFERENCE_HOST::SampleTrafficServiceObject;
    return NS_REFERENCE_HOST::MakeServiceObject<SampleTrafficServiceObject>(gobbler);
}
