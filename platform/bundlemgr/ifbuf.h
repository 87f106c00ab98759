// The registry of interfaces: which objects offer the interface of a given name.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceinterface.h"

namespace NS_BUNDLEMGR1 {

// Adds `interface` under `name`, behind those that are there; an object that already stands under
// the name is not added again. The registry does not own it. Returns true when it stands there
// afterwards, false for a null pointer. Any thread. Throws only for lack of memory.
QV_PLATFORM_API bool SetIFBuf(const std::string& name, ServiceInterface* interface);

// The interfaces registered under `name`, in the order of their registration; empty when there
// are none. The result is a copy; the objects stay with their bundles. Any thread.
QV_PLATFORM_API std::vector<ServiceInterface*> CheckIFBuf(const std::string& name);

}  // namespace NS_BUNDLEMGR1
