// The registry of interfaces: which objects offer the interface of a given name.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceinterface.h"

namespace NS_BUNDLEMGR1 {

// Adds `interface` under `name`, after the others of that name. Does not add an object again that
// is registered under the name. The registry does not own it. Returns true when the object is
// registered afterwards, false for a null pointer. May throw std::bad_alloc. Thread safety: any
// thread.
QV_PLATFORM_API bool SetIFBuf(const std::string& name, ServiceInterface* interface);

// Returns the interfaces that are registered under `name`, in the order of their registration;
// empty when there are none. The bundles own the objects. May throw std::bad_alloc. Thread safety:
// any thread.
QV_PLATFORM_API std::vector<ServiceInterface*> CheckIFBuf(const std::string& name);

}  // namespace NS_BUNDLEMGR1
