// Finds the interface of another bundle's service.
#pragma once

#include <functional>
#include <string>

#include "bundlemgr/serviceinterface.h"

namespace NS_LOG_SERVICE1 {

// Returns whether an object is the interface that is looked for.
using InterfaceTest = std::function<bool(NS_BUNDLEMGR1::ServiceInterface*)>;

// Returns the first interface that is registered under `name`. When there is none, registers every
// service object's interface for which `fits` is true under that name, and returns the first one.
// Throws InterfaceNotExistException with the code 0x41180004 when there is none either. Thread
// safety: any thread.
NS_BUNDLEMGR1::ServiceInterface* LookUpInterface(const std::string& name,
                                                 const InterfaceTest& fits);

[[noreturn]] void RaiseInterfaceNotExist(const std::string& name);

// The same for an interface of class `Interface`. Throws also when the object that is registered
// under the name is of another class.
template <class Interface>
Interface& LookUp(const std::string& name) {
    auto* found = dynamic_cast<Interface*>(
        LookUpInterface(name, [](NS_BUNDLEMGR1::ServiceInterface* candidate) {
            return dynamic_cast<Interface*>(candidate) != nullptr;
        }));
    if (found == nullptr) {
        RaiseInterfaceNotExist(name);
    }
    return *found;
}

}  // namespace NS_LOG_SERVICE1
