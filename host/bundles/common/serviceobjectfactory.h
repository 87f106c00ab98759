// The common part of the bundles' factories.
#pragma once

#include <ace/Service_Object.h>
#include <ace/Service_Types.h>

namespace NS_REFERENCE_HOST {

// Frees what MakeServiceObject made. The manager hands over the ACE_Service_Object it was given,
// as a void pointer.
inline void FreeServiceObject(void* object) {
    delete static_cast<ACE_Service_Object*>(object);
}

// Makes a service object of the class `Object` by the factory convention of the service
// configurator: a raw pointer, and in `gobbler`, unless it is null, the function that frees it.
template <typename Object>
ACE_Service_Object* MakeServiceObject(ACE_Service_Object_Exterminator* gobbler) {
    if (gobbler != nullptr) {
        *gobbler = &FreeServiceObject;
    }
    return new Object;
}

}  // namespace NS_REFERENCE_HOST
