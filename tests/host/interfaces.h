// Interface and service objects for the tests of the reference platform.
#pragma once

#include <string>

#include "bundlemgr/serviceinterface.h"
#include "bundlemgr/serviceobjectbase.h"

namespace NS_TEST {

// Counts how many of its kind exist.
class CountedInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    explicit CountedInterface(int& alive) : alive_(alive) { ++alive_; }
    ~CountedInterface() override { --alive_; }
    CountedInterface(const CountedInterface&) = delete;
    CountedInterface& operator=(const CountedInterface&) = delete;

    std::string GetIFName() const override { return "CountedInterface"; }
    bool IsValid() const override { return true; }

  private:
    int& alive_;
};

// A service object that creates a CountedInterface.
class CountedService : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    explicit CountedService(int& alive) : ServiceObjectBase("bundle", "service"), alive_(alive) {}

    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override {
        interface_ = new CountedInterface(alive_);
        return interface_;
    }

  private:
    int& alive_;
};

}  // namespace NS_TEST
