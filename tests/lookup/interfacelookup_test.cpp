// Finding the interfaces of other bundles' services, and what stands for one that was not found.
#include "lookup/interfacelookup.h"

#include <gmock/gmock.h>

#include <thread>
#include <type_traits>

#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/processexception.h"
#include "lookup/nullserviceinterface.h"
#include "support/onthreads.h"
#include "support/otherservices.h"
#include "support/waiting.h"

using namespace NS_BUNDLEMGR1;
using NS_LOG_SERVICE1::GetNullServiceInterface;
using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;
using namespace NS_TEST;
using namespace testing;

namespace {

class InterfaceLookup : public testing::Test {
  protected:
    ~InterfaceLookup() override {
        NS_REFERENCE_HOST::RemoveFromIFBuf(&first_);
        NS_REFERENCE_HOST::RemoveFromIFBuf(&second_);
    }

    static ScheduleSvcInterface* Found() {
        return &NS_LOG_SERVICE1::LookUp<ScheduleSvcInterface>(SCHEDULE_NAME);
    }

    // Whether another thread can take the bundle manager's lock now.
    static bool IsManagerFree() {
        int taken = -1;
        std::thread([&taken] {
            auto& lock = NS_BUNDLEMGR1::BundleMgr::Instance()->GetLock();
            taken = lock.tryacquire();
            if (taken == 0) {
                lock.release();
            }
        }).join();
        return taken == 0;
    }

    RecordingScheduleService first_;
    RecordingScheduleService second_;
    OtherInterface other_;
};

TEST_F(InterfaceLookup, UsesTheFirstInterfaceThatIsRegisteredAndAsksNobodyElse) {
    OfferingServiceObject object(&second_);
    object.onAsked = [] { FAIL() << "asked a service object"; };
    const RegisteredInterface registeredFirst(SCHEDULE_NAME, first_);
    const RegisteredInterface registeredSecond(SCHEDULE_NAME, second_);
    EXPECT_EQ(Found(), &first_);
    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), ElementsAre(&first_, &second_));
}

TEST_F(InterfaceLookup, RegistersEveryInterfaceOfTheClassThatServiceObjectsOffer) {
    const OfferingServiceObject nothing(nullptr);
    const OfferingServiceObject otherClass(&other_);
    const OfferingServiceObject object(&first_);
    OfferingServiceObject last(&second_);
    int asked = 0;
    last.onAsked = [&asked] { ++asked; };
    EXPECT_EQ(Found(), &first_);
    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), ElementsAre(&first_, &second_));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(Found(), &first_);
    EXPECT_EQ(asked, 1);
}

TEST_F(InterfaceLookup, HoldsTheBundleManagersLockWhileItAsksServiceObjects) {
    OfferingServiceObject object(&first_);
    bool wasFree = true;
    object.onAsked = [&wasFree] { wasFree = IsManagerFree(); };
    Found();
    EXPECT_FALSE(wasFree);
    EXPECT_TRUE(IsManagerFree());
}

TEST_F(InterfaceLookup, ReleasesTheBundleManagersLockWhenAServiceObjectThrows) {
    OfferingServiceObject object(&first_);
    object.onAsked = [] { throw 42; };
    EXPECT_THROW(Found(), int);
    EXPECT_TRUE(IsManagerFree());
}

TEST_F(InterfaceLookup, RaisesAnExceptionWithItsCodeWhenThereIsNone) {
    const OfferingServiceObject otherClass(&other_);
    try {
        Found();
        FAIL() << "found something";
    } catch (const InterfaceNotExistException& exception) {
        EXPECT_EQ(exception.GetCode(), 0x41180004U);
    }
    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), IsEmpty());
    EXPECT_TRUE(IsManagerFree());

    const RegisteredInterface later(SCHEDULE_NAME, first_);
    EXPECT_EQ(Found(), &first_);
}

TEST_F(InterfaceLookup, TakesAnObjectOfAnotherClassForNone) {
    const RegisteredInterface registered(SCHEDULE_NAME, other_);
    EXPECT_THROW(Found(), InterfaceNotExistException);
}

TEST_F(InterfaceLookup, MayRunInManyThreads) {
    const OfferingServiceObject object(&first_);
    std::vector<ScheduleSvcInterface*> found(4);
    OnThreads(found.size(), [&](size_t thread) { found[thread] = Found(); });
    EXPECT_THAT(found, Each(&first_));
    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), ElementsAre(&first_));
}

// The object that a lookup has in hand while it has found no real interface. It
// is created once in a process, so each of these tests needs one of its own.
TEST(NullServiceInterface, SaysThatItIsNone) {
    NS_BUNDLEMGR1::ServiceInterface* const interface = GetNullServiceInterface();
    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(interface->GetIFName(), "NULLServiceInterface!");
    EXPECT_FALSE(interface->IsValid());
}

TEST(NullServiceInterface, IsOneForAllThreads) {
    std::vector<NULLServiceInterface*> seen(8);
    OnThreads(seen.size(), [&](size_t thread) { seen[thread] = GetNullServiceInterface(); });
    EXPECT_THAT(seen, Each(GetNullServiceInterface()));
}

// A derived class would have to construct and destroy the virtual base itself, and may not.
TEST(NullServiceInterface, KeepsWhatForbidsDerivationToItself) {
    EXPECT_TRUE((std::is_base_of_v<FinalClass, NULLServiceInterface>));
    EXPECT_FALSE((std::is_convertible_v<NULLServiceInterface*, FinalClass*>));
    EXPECT_FALSE(std::is_default_constructible_v<FinalClass>);
    EXPECT_FALSE(std::is_destructible_v<FinalClass>);
}

TEST(NullServiceInterface, IsCreatedUnderThePlatformsMutexAndThenFoundWithoutIt) {
    auto& mutex = NS_BUNDLEMGR1::_g_actualmutex;
    ASSERT_EQ(mutex.acquire(), 0);
    auto created = std::async(std::launch::async, GetNullServiceInterface);
    EXPECT_TRUE(IsStillBlocked(created));
    mutex.release();
    ASSERT_TRUE(Finishes(created));

    ASSERT_EQ(mutex.acquire(), 0);
    auto again = std::async(std::launch::async, GetNullServiceInterface);
    EXPECT_TRUE(Finishes(again));
    mutex.release();
    EXPECT_EQ(created.get(), again.get());
}

}  // namespace
