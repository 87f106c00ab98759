// The base of every interface that one bundle offers to the others.
#pragma once

#include <string>

namespace NS_BUNDLEMGR1 {

// An interface object is created by its bundle's service object, registered under a name with
// SetIFBuf and found by that name. It belongs to the service object; users never delete it.
//
// Virtual slots: 0 and 1 destructor, 2 GetIFName, 3 IsValid.
class ServiceInterface {
  public:
    virtual ~ServiceInterface() = default;

    // The name that the interface gives itself; it may differ from the name it is registered
    // under. Never throws but for lack of memory. Any thread.
    virtual std::string GetIFName() const = 0;

    // True for a real service, false for an object that only stands in for a missing one.
    virtual bool IsValid() const = 0;
};

}  // namespace NS_BUNDLEMGR1
