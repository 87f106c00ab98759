// The slots by which the service calls the platform.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "abi/slots.h"
#include "asn/asnobject.h"
#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "diagnostic/defaultlogproxy.h"
#include "diagnostic/logproxycache.h"
#include "lookup/nullserviceinterface.h"
#include "schedule/periodictasks.h"
#include "schedule/schedulesvcinterface.h"
#include "support/capturedoutput.h"
#include "support/recordinglogproxy.h"

using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::DefaultLogProxy;
using NS_BUNDLEMGR1::LogProxy;
using NS_BUNDLEMGR1::LogProxyProvider;
using NS_BUNDLEMGR1::NULLServiceInterface;
using NS_BUNDLEMGR1::ServiceInterface;
using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;
using NS_TEST::CallSlot;
using NS_TEST::SlotOf;

namespace {

template <class Proxy>
void ExpectSlotsOfALogProxy() {
    EXPECT_EQ(SlotOf(&Proxy::Reserved2), 2u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved3), 3u);
    EXPECT_EQ(SlotOf(&Proxy::Print), 4u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved5), 5u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved6), 6u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved7), 7u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved8), 8u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved9), 9u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved10), 10u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved11), 11u);
    EXPECT_EQ(SlotOf(&Proxy::Reserved12), 12u);
    EXPECT_EQ(SlotOf(&Proxy::SetPosition), 13u);
    EXPECT_EQ(SlotOf(&Proxy::SetBundleName), 14u);
    EXPECT_EQ(SlotOf(&Proxy::SetServiceName), 15u);
    EXPECT_EQ(SlotOf(&Proxy::GetProxyName), 16u);
}

TEST(LogProxySlots, AreNumberedAsThePlatformWasBuilt) {
    ExpectSlotsOfALogProxy<LogProxy>();
    ExpectSlotsOfALogProxy<DefaultLogProxy>();
}

TEST(LogProxySlots, RunTheFallbacksOperations) {
    DefaultLogProxy* const proxy = new DefaultLogProxy;
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    for (const size_t slot : {2u, 3u, 5u, 11u}) {
        CallSlot<void>(slot, proxy);
    }
    for (const size_t slot : {6u, 7u, 8u, 9u, 10u, 12u}) {
        EXPECT_EQ(CallSlot<int>(slot, proxy), 0) << slot;
    }
    CallSlot<void, const char*, int>(13, proxy, "logimpl", 1);
    CallSlot<void, const char*>(14, proxy, "qv_base_bundle");
    CallSlot<void, const char*>(15, proxy, "qv_base_log");
    EXPECT_EQ(output.Text(), "");

    using Print = void (*)(const void*, int, const char*, ...);
    Print print;
    void* const entry = NS_TEST::TableOf(proxy)[4];
    std::memcpy(&print, &entry, sizeof(print));
    print(proxy, 1, "value %d\n", 5);
    EXPECT_EQ(output.Text(), "value %d\n");
    EXPECT_EQ(CallSlot<std::string>(16, proxy), "DefaultLogProxy");
    NS_TEST::CallDeletingDestructor(proxy);
}

TEST(LogProxySlots, LeadTheServiceToItsProxy) {
    EXPECT_EQ(SlotOf(&BundleMgr::GetLogProxyProvider), 12u);
    EXPECT_EQ(SlotOf(&LogProxyProvider::GetLogProxy), 0u);

    NS_TEST::RecordingLogProxy proxy;
    NS_TEST::RecordingLogProxyProvider provider(&proxy);
    NS_REFERENCE_HOST::SetLogProxyProvider(&provider);
    EXPECT_EQ(CallSlot<LogProxyProvider*>(12, BundleMgr::Instance()), &provider);
    const std::string name = "qv_base_bundleqv_base_log";
    LogProxyProvider* const found = &provider;
    EXPECT_EQ((CallSlot<LogProxy*, const std::string&>(0, found, name)), &proxy);
    NS_REFERENCE_HOST::SetLogProxyProvider(nullptr);
    EXPECT_EQ(CallSlot<LogProxyProvider*>(12, BundleMgr::Instance()), nullptr);
}

TEST(ScheduleSlots, DeleteATaskInSlotSix) {
    EXPECT_EQ(SlotOf(&ScheduleSvcInterface::GetIFName), 2u);
    EXPECT_EQ(SlotOf(&ScheduleSvcInterface::IsValid), 3u);
    EXPECT_EQ(SlotOf(&ScheduleSvcInterface::DeleteTask), 6u);
}

TEST(ScheduleSlots, CreateAndRunTasksBehindTheDestructors) {
    EXPECT_EQ(SlotOf(&NS_SCHEDULE_SERVICE1::PeriodicTasks::CreatePeriodicTask), 2u);
    EXPECT_EQ(SlotOf(&NS_SCHEDULE_SERVICE1::ScheduledTask::Run), 2u);
}

TEST(ConfigurationSlots, AreNumberedAsDeclared) {
    EXPECT_EQ(SlotOf(&NS_BUNDLEMGR1::CorbaConfigItems::GetIntItemInfo), 2u);
    EXPECT_EQ(SlotOf(&NS_BUNDLEMGR1::CorbaConfigItems::GetStrItemInfo), 3u);
    EXPECT_EQ(SlotOf(&NS_BUNDLEMGR1::CorbaConfigItems::GetCorbaConfigItems), 4u);
}

TEST(MessageSlots, AreNumberedAsDeclared) {
    EXPECT_EQ(SlotOf(&NS_ASN1::AsnObject::Print), 2u);
    EXPECT_EQ(SlotOf(&NS_ASN1::AsnObject::GetTypeName), 3u);
}

TEST(ServiceInterfaceSlots, AreNumberedAsThePlatformWasBuilt) {
    EXPECT_EQ(SlotOf(&ServiceInterface::GetIFName), 2u);
    EXPECT_EQ(SlotOf(&ServiceInterface::IsValid), 3u);
    EXPECT_EQ(SlotOf(&NULLServiceInterface::GetIFName), 2u);
    EXPECT_EQ(SlotOf(&NULLServiceInterface::IsValid), 3u);
}

TEST(ServiceInterfaceSlots, RunTheStandInsOperations) {
    const NULLServiceInterface* const interface = NS_LOG_SERVICE1::GetNullServiceInterface();
    EXPECT_EQ(CallSlot<std::string>(2, interface), "NULLServiceInterface!");
    EXPECT_FALSE(CallSlot<bool>(3, interface));
}

}  // namespace
