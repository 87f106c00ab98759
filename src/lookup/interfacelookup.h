// Finding the interface of another bundle's service.
#pragma once

#include <functional>
#include <string>

#include "bundlemgr/serviceinterface.h"

namespace NS_LOG_SERVICE1 {

// Whether an interface object offers what is looked for.
using InterfaceTest = std::function<bool(NS_BUNDLEMGR1::ServiceInterface*)>;

// The first interface that is registered under `name`; where there is none, the first one of the
// service objects' that `fits`, and all that do are registered under the name. Raises
// InterfaceNotExistException with the code 0x41180004 where there is none either. Any thread.
NS_BUNDLEMGR1::ServiceInterface* LookUpInterface(const std::string& name,
                                                 const InterfaceTest& fits);

[[noreturn]] void RaiseInterfaceNotExist(const std::string& name);

// The same for an interface of class `Interface`. An object of another class that stands under the
// name counts as none.
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
