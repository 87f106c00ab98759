// The object that a lookup has in hand while it has found no real interface.
#pragma once

#include <string>

#include "bundlemgr/serviceinterface.h"

namespace NS_BUNDLEMGR1 {

class NULLServiceInterface;

// A class that derives from this one virtually cannot be derived from itself: only the named class
// may construct it, and a virtual base is constructed by the most derived class.
class FinalClass {
    friend class NULLServiceInterface;
    FinalClass() = default;
    ~FinalClass() = default;
};

// Thread safety: stateless.
class NULLServiceInterface : public ServiceInterface, private virtual FinalClass {
  public:
    std::string GetIFName() const override { return "NULLServiceInterface!"; }
    bool IsValid() const override { return false; }
};

}  // namespace NS_BUNDLEMGR1

namespace NS_LOG_SERVICE1 {

// The one object of the process, created on the first call and never freed.
NS_BUNDLEMGR1::NULLServiceInterface* GetNullServiceInterface();

}  // namespace NS_LOG_SERVICE1
