// Finding the interfaces of other bundles' services.
#include "lookup/interfacelookup.h"

#include <thread>

#include "bundlemgr/bundlemgr.h"
#include "control/controlfixture.h"
#include "control/scheduleservice.h"
#include "lookup/nullserviceinterface.h"

using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::CheckIFBuf;
using NS_BUNDLEMGR1::InterfaceNotExistException;
using NS_LOG_SERVICE1::LookUp;
using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;
using NS_TEST::OfferingServiceObject;
using NS_TEST::RegisteredInterface;
using NS_TEST::SCHEDULE_NAME;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class InterfaceLookup : public testing::Test {
  protected:
    ~InterfaceLookup() override {
        NS_REFERENCE_HOST::RemoveFromIFBuf(&first_);
        NS_REFERENCE_HOST::RemoveFromIFBuf(&second_);
    }

    static ScheduleSvcInterface* Found() { return &LookUp<ScheduleSvcInterface>(SCHEDULE_NAME); }

    NS_TEST::RecordingScheduleService first_;
    NS_TEST::RecordingScheduleService second_;
    NS_TEST::OtherInterface other_;
};

TEST_F(InterfaceLookup, UsesTheFirstInterfaceThatIsRegistered) {
    const RegisteredInterface registeredFirst(SCHEDULE_NAME, first_);
    const RegisteredInterface registeredSecond(SCHEDULE_NAME, second_);
    EXPECT_EQ(Found(), &first_);
}

TEST_F(InterfaceLookup, DoesNotAskServiceObjectsWhenAnInterfaceIsRegistered) {
    OfferingServiceObject object(&second_);
    int asked = 0;
    object.onAsked = [&asked] { ++asked; };
    const RegisteredInterface registered(SCHEDULE_NAME, first_);
    EXPECT_EQ(Found(), &first_);
    EXPECT_EQ(asked, 0);
    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), ElementsAre(&first_));
}

TEST_F(InterfaceLookup, RegistersEveryInterfaceOfTheClassThatServiceObjectsOffer) {
    const OfferingServiceObject nothing(nullptr);
    const OfferingServiceObject otherClass(&other_);
    const OfferingServiceObject object(&first_);
    const OfferingServiceObject next(&second_);

    EXPECT_EQ(Found(), &first_);

    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), ElementsAre(&first_, &second_));
}

TEST_F(InterfaceLookup, DoesNotAskServiceObjectsASecondTime) {
    OfferingServiceObject object(&first_);
    int asked = 0;
    object.onAsked = [&asked] { ++asked; };
    Found();
    const int askedByTheFirst = asked;
    EXPECT_EQ(Found(), &first_);
    EXPECT_GE(askedByTheFirst, 1);
    EXPECT_EQ(asked, askedByTheFirst);
}

TEST_F(InterfaceLookup, HoldsTheBundleManagersLockWhileItAsksServiceObjects) {
    OfferingServiceObject object(&first_);
    int taken = 0;
    object.onAsked = [&taken] {
        std::thread([&taken] {
            taken = BundleMgr::Instance()->GetLock().tryacquire();
            if (taken == 0) {
                BundleMgr::Instance()->GetLock().release();
            }
        }).join();
    };
    Found();
    EXPECT_EQ(taken, -1);

    std::thread([&taken] {
        taken = BundleMgr::Instance()->GetLock().tryacquire();
        BundleMgr::Instance()->GetLock().release();
    }).join();
    EXPECT_EQ(taken, 0);
}

TEST_F(InterfaceLookup, RaisesAnExceptionWithItsCodeWhenThereIsNone) {
    const OfferingServiceObject otherClass(&other_);
    try {
        Found();
        FAIL() << "found something";
    } catch (const NS_BUNDLEMGR1::ProcessException& exception) {
        EXPECT_NE(dynamic_cast<const InterfaceNotExistException*>(&exception), nullptr);
        EXPECT_EQ(exception.GetCode(), 0x41180004U);
    }
    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), IsEmpty());
}

TEST_F(InterfaceLookup, ReleasesTheBundleManagersLockWhenThereIsNone) {
    EXPECT_THROW(Found(), InterfaceNotExistException);
    int taken = -1;
    std::thread([&taken] {
        taken = BundleMgr::Instance()->GetLock().tryacquire();
        BundleMgr::Instance()->GetLock().release();
    }).join();
    EXPECT_EQ(taken, 0);
}

TEST_F(InterfaceLookup, ReleasesTheBundleManagersLockWhenAServiceObjectThrows) {
    OfferingServiceObject object(&first_);
    object.onAsked = [] { throw 42; };
    EXPECT_THROW(Found(), int);
    int taken = -1;
    std::thread([&taken] {
        taken = BundleMgr::Instance()->GetLock().tryacquire();
        BundleMgr::Instance()->GetLock().release();
    }).join();
    EXPECT_EQ(taken, 0);
}

TEST_F(InterfaceLookup, TakesAnObjectOfAnotherClassForNone) {
    const RegisteredInterface registered(SCHEDULE_NAME, other_);
    EXPECT_THROW(Found(), InterfaceNotExistException);
}

TEST_F(InterfaceLookup, FindsAServiceThatComesLater) {
    EXPECT_THROW(Found(), InterfaceNotExistException);
    const RegisteredInterface registered(SCHEDULE_NAME, first_);
    EXPECT_EQ(Found(), &first_);
}

TEST_F(InterfaceLookup, MayRunInManyThreads) {
    const OfferingServiceObject object(&first_);
    std::vector<ScheduleSvcInterface*> found(4);
    std::vector<std::thread> threads;
    for (ScheduleSvcInterface*& one : found) {
        threads.emplace_back([&one] { one = Found(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(found, testing::Each(&first_));
    EXPECT_THAT(CheckIFBuf(SCHEDULE_NAME), ElementsAre(&first_));
}

// Needs a process of its own: the object is created once in each.
TEST(NullServiceInterfaceCreation, TakesThePlatformsMutexOnce) {
    auto& mutex = NS_BUNDLEMGR1::_g_actualmutex;
    ASSERT_EQ(mutex.acquire(), 0);
    auto created = std::async(std::launch::async, NS_LOG_SERVICE1::GetNullServiceInterface);
    EXPECT_TRUE(NS_TEST::IsStillBlocked(created));
    mutex.release();
    ASSERT_TRUE(NS_TEST::Finishes(created));

    ASSERT_EQ(mutex.acquire(), 0);
    auto again = std::async(std::launch::async, NS_LOG_SERVICE1::GetNullServiceInterface);
    EXPECT_TRUE(NS_TEST::Finishes(again));
    mutex.release();
    EXPECT_EQ(created.get(), again.get());
}

}  // namespace
