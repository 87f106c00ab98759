// The result of a lookup that has found no interface.
#pragma once

#include <string>

#include "bundlemgr/serviceinterface.h"

namespace NS_BUNDLEMGR1 {

class NULLServiceInterface;

// A class that derives from this one virtually is final: the most derived class constructs a
// virtual base, and only the friend may construct this one.
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

// Returns the process's only object. The first call creates it; it is never freed.
NS_BUNDLEMGR1::NULLServiceInterface* GetNullServiceInterface();

}  // namespace NS_LOG_SERVICE1
