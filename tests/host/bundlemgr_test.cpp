// The bundle manager as bundles see it.
#include "bundlemgr/bundlemgr.h"

#include <ace/Guard_T.h>
#include <gtest/gtest.h>

#include <thread>

#include "asn/asnobject.h"
#include "platform/hostcontrol.h"
#include "support/recordinglogproxy.h"

using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::LogProxyProvider;
using NS_REFERENCE_HOST::SetLogProxyProvider;
using NS_REFERENCE_HOST::StderrLogProxyProvider;

namespace {

TEST(BundleManager, GivesTheProviderThatTheProcessHasChosen) {
    EXPECT_EQ(BundleMgr::Instance(), BundleMgr::Instance());
    EXPECT_EQ(BundleMgr::Instance()->GetLogProxyProvider(), StderrLogProxyProvider());
    NS_TEST::RecordingLogProxyProvider provider(nullptr);
    for (LogProxyProvider* const chosen :
         std::initializer_list<LogProxyProvider*>{&provider, nullptr, StderrLogProxyProvider()}) {
        SetLogProxyProvider(chosen);
        EXPECT_EQ(BundleMgr::Instance()->GetLogProxyProvider(), chosen);
    }
}

// Bundles of other builds count the slots of the virtual table.
TEST(BundleManager, GivesTheProviderInSlotTwelve) {
    using GetProvider = LogProxyProvider* (*)(BundleMgr*);
    BundleMgr* manager = BundleMgr::Instance();
    GetProvider* const slots = *reinterpret_cast<GetProvider**>(manager);
    NS_TEST::RecordingLogProxyProvider provider(nullptr);
    SetLogProxyProvider(&provider);
    EXPECT_EQ(slots[12](manager), &provider);
    SetLogProxyProvider(StderrLogProxyProvider());
}

TEST(BundleManager, DoesNothingInTheReservedSlots) {
    BundleMgr* manager = BundleMgr::Instance();
    manager->Reserved2();
    manager->Reserved3();
    manager->Reserved4();
    manager->Reserved5();
    manager->Reserved6();
    manager->Reserved7();
    manager->Reserved8();
    manager->Reserved9();
    manager->Reserved10();
    manager->Reserved11();
    EXPECT_EQ(manager->GetLogProxyProvider(), StderrLogProxyProvider());
    EXPECT_TRUE(manager->GetServiceObjects().empty());
}

TEST(BundleManager, HasALockThatItsOwnerMayTakeAgain) {
    ACE_Recursive_Thread_Mutex& lock = BundleMgr::Instance()->GetLock();
    const ACE_Guard<ACE_Recursive_Thread_Mutex> outer(lock);
    EXPECT_EQ(lock.tryacquire(), 0);
    std::thread([&lock] { EXPECT_EQ(lock.tryacquire(), -1); }).join();
    EXPECT_EQ(lock.release(), 0);
}

TEST(BundleManager, OffersTheMutexForObjectsThatExistOnce) {
    ASSERT_EQ(NS_BUNDLEMGR1::_g_actualmutex.acquire(), 0);
    std::thread([] { EXPECT_EQ(NS_BUNDLEMGR1::_g_actualmutex.tryacquire(), -1); }).join();
    EXPECT_EQ(NS_BUNDLEMGR1::_g_actualmutex.release(), 0);
}

TEST(AsnPrinting, StartsUnindented) {
    EXPECT_EQ(indentG, 0);
}

}  // namespace
