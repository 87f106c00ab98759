// Interfaces and service objects of other bundles, as a test makes them up.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bundlemgr/ifbuf.h"
#include "bundlemgr/serviceobjectbase.h"
#include "platform/hostcontrol.h"
#include "schedule/schedulesvcinterface.h"

namespace NS_TEST {

static const char* const SCHEDULE_NAME = "ScheduleSvcInterface";

// Registers an interface for the length of a block.
class RegisteredInterface {
  public:
    RegisteredInterface(const std::string& name, NS_BUNDLEMGR1::ServiceInterface& interface)
        : interface_(interface) {
        NS_BUNDLEMGR1::SetIFBuf(name, &interface);
    }
    ~RegisteredInterface() { NS_REFERENCE_HOST::RemoveFromIFBuf(&interface_); }
    RegisteredInterface(const RegisteredInterface&) = delete;
    RegisteredInterface& operator=(const RegisteredInterface&) = delete;

  private:
    NS_BUNDLEMGR1::ServiceInterface& interface_;
};

// A schedule service that remembers what it was asked to delete. For one thread.
class RecordingScheduleService : public NS_SCHEDULE_SERVICE1::ScheduleSvcInterface {
  public:
    std::string GetIFName() const override { return "RecordingScheduleService"; }
    bool IsValid() const override { return true; }
    int Reserved4() override { return 0; }
    int Reserved5() override { return 0; }
    int DeleteTask(int64_t handle) override {
        deleted.push_back(handle);
        if (onDelete) {
            onDelete();
        }
        return answer;
    }

    int answer = 0;
    std::vector<int64_t> deleted;
    std::function<void()> onDelete;  // may throw
};

// An interface that is none of those that are looked for.
class OtherInterface : public NS_BUNDLEMGR1::ServiceInterface {
  public:
    std::string GetIFName() const override { return "OtherInterface"; }
    bool IsValid() const override { return true; }
};

// A service object of another bundle; offers what it is given, or nothing.
class OfferingServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    explicit OfferingServiceObject(NS_BUNDLEMGR1::ServiceInterface* offered)
        : ServiceObjectBase("other_bundle", "other_service") {
        interface_ = offered;
    }

    NS_BUNDLEMGR1::ServiceInterface* GetInterface() override {
        if (onAsked) {
            onAsked();
        }
        return interface_;
    }

    std::function<void()> onAsked;  // may throw
};

}  // namespace NS_TEST
