// A bundle that calls what no library has.
#include <ace/Service_Object.h>

#include "bundlemgr/platformapi.h"

extern "C" ACE_Service_Object* qv_test_nowhere_to_be_found();

extern "C" QV_PLATFORM_API ACE_Service_Object* _make_unresolved(ACE_Service_Object_Exterminator*) {
    return qv_test_nowhere_to_be_found();
}
