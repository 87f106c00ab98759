// What every bundle's service object has in common.
#include "bundlemgr/serviceobjectbase.h"

#include <ace/Guard_T.h>
#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/ifbuf.h"
#include "platform/hostcontrol.h"
#include "support/onthreads.h"
#include "support/otherservices.h"

using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::CheckIFBuf;
using NS_BUNDLEMGR1::ServiceInterface;
using NS_BUNDLEMGR1::ServiceObjectBase;
using NS_BUNDLEMGR1::SetIFBuf;
using namespace testing;

namespace {

using Guard = ACE_Guard<ACE_Recursive_Thread_Mutex>;

// Counts how many of its kind exist.
class CountedInterface : public NS_TEST::OtherInterface {
  public:
    explicit CountedInterface(int& alive) : alive_(alive) { ++alive_; }
    ~CountedInterface() override { --alive_; }
    CountedInterface(const CountedInterface&) = delete;
    CountedInterface& operator=(const CountedInterface&) = delete;

  private:
    int& alive_;
};

class CountedService : public ServiceObjectBase {
  public:
    explicit CountedService(int& alive) : ServiceObjectBase("bundle", "service"), alive_(alive) {}

    ServiceInterface* CreateInterface() override {
        return interface_ = new CountedInterface(alive_);
    }

  private:
    int& alive_;
};

std::vector<ServiceObjectBase*> ListedObjects() {
    const Guard guard(BundleMgr::Instance()->GetLock());
    return BundleMgr::Instance()->GetServiceObjects();
}

TEST(ServiceObject, IsOnTheManagersListFromItsConstructionToItsDestruction) {
    EXPECT_THAT(ListedObjects(), IsEmpty());
    auto first = std::make_unique<ServiceObjectBase>("bundle", "first");
    const auto second = std::make_unique<ServiceObjectBase>("bundle", "second");
    EXPECT_THAT(ListedObjects(), ElementsAre(first.get(), second.get()));
    first.reset();
    EXPECT_THAT(ListedObjects(), ElementsAre(second.get()));
}

TEST(ServiceObject, KeepsACopyOfItsName) {
    std::string bundle = "bundle";
    std::string service = "service";
    const ServiceObjectBase object(bundle.c_str(), service.c_str());
    bundle.assign(6, 'x');
    service.assign(7, 'x');
    EXPECT_EQ(object.GetName(), "service");
}

TEST(ServiceObject, HasNoInterfaceOfItsOwn) {
    ServiceObjectBase object("bundle", "service");
    EXPECT_EQ(object.GetInterface(), nullptr);
    EXPECT_EQ(object.CreateInterface(), nullptr);
    EXPECT_EQ(object.GetInterface(), nullptr);
    EXPECT_EQ(object.StopService(), 0);
    EXPECT_EQ(object.UnRegistSvc(), 0);
    object.RemoveInterface();
    EXPECT_EQ(object.GetInterface(), nullptr);
}

TEST(ServiceObject, KeepsItsInterfaceWhenItIsUnregisteredAndDeletesItOnRemoval) {
    int alive = 0;
    CountedService object(alive);
    ServiceInterface* created = object.CreateInterface();
    SetIFBuf("Name", created);
    EXPECT_EQ(object.UnRegistSvc(), 0);
    EXPECT_THAT(CheckIFBuf("Name"), IsEmpty());
    EXPECT_EQ(object.GetInterface(), created);
    EXPECT_EQ(alive, 1);
    SetIFBuf("Name", created);
    SetIFBuf("Alias", created);
    object.RemoveInterface();
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(object.GetInterface(), nullptr);
    EXPECT_THAT(CheckIFBuf("Name"), IsEmpty());
    EXPECT_THAT(CheckIFBuf("Alias"), IsEmpty());
    object.RemoveInterface();
    EXPECT_EQ(alive, 0);
}

TEST(ServiceObject, LeavesItsInterfaceAloneWhenItIsDestroyed) {
    int alive = 0;
    auto object = std::make_unique<CountedService>(alive);
    const std::unique_ptr<ServiceInterface> created(object->CreateInterface());
    object.reset();
    EXPECT_EQ(alive, 1);
}

TEST(ServiceObject, JoinsAndLeavesTheListOnAnyThread) {
    const ServiceObjectBase stays("bundle", "stays");
    NS_TEST::OnThreads(8, [](int) {
        for (int round = 0; round < 500; ++round) {
            const ServiceObjectBase object("bundle", "passes by");
        }
    });
    EXPECT_THAT(ListedObjects(), ElementsAre(&stays));
}

// A lookup goes through the list under the manager's lock and registers what it finds. However
// that meets a removal, nobody gets an object that is gone and nothing stays registered.
TEST(ServiceObject, RemovesItsInterfaceWhileOthersLookForIt) {
    std::atomic<bool> stop{false};
    std::thread lookup([&stop] {
        while (!stop) {
            const Guard guard(BundleMgr::Instance()->GetLock());
            for (ServiceObjectBase* object : BundleMgr::Instance()->GetServiceObjects()) {
                if (ServiceInterface* found = object->GetInterface()) {
                    EXPECT_EQ(found->GetIFName(), "OtherInterface");
                    SetIFBuf("Name", found);
                }
            }
        }
    });
    int alive = 0;
    std::optional<CountedService> object;
    {
        // Its base lists it before it is whole.
        const Guard guard(BundleMgr::Instance()->GetLock());
        object.emplace(alive);
    }
    for (int round = 0; round < 300; ++round) {
        {
            const Guard guard(BundleMgr::Instance()->GetLock());
            object->CreateInterface();
        }
        object->RemoveInterface();
        EXPECT_THAT(CheckIFBuf("Name"), IsEmpty());
    }
    stop = true;
    lookup.join();
    object.reset();
    EXPECT_EQ(alive, 0);
}

}  // namespace
