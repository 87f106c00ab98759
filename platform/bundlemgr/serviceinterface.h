// The base of every interface that one bundle offers to the others.
#pragma once

#include <string>

namespace NS_BUNDLEMGR1 {

// A bundle's service object creates the interface object, registers it under a name with SetIFBuf,
// and owns it. Users find it by that name and never delete it.
//
// Virtual slots: 0 and 1 destructor, 2 GetIFName, 3 IsValid.
class ServiceInterface {
  public:
    virtual ~ServiceInterface() = default;

    // Returns the interface's own name, which may differ from the name under which it is
    // registered. May throw std::bad_alloc. Thread safety: any thread.
    virtual std::string GetIFName() const = 0;

    // Returns true for a real service, false for an object in the place of a missing one.
    virtual bool IsValid() const = 0;
};

}  // namespace NS_BUNDLEMGR1
