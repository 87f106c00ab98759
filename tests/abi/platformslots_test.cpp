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
using NS_BUNDLEMGR1::CorbaConfigItems;
using NS_BUNDLEMGR1::DefaultLogProxy;
using NS_BUNDLEMGR1::LogProxy;
using NS_BUNDLEMGR1::LogProxyProvider;
using NS_BUNDLEMGR1::NULLServiceInterface;
using NS_BUNDLEMGR1::ServiceInterface;
using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;
using NS_TEST::CallSlot;
using NS_TEST::ExpectSlotsFrom;

namespace {

template <class Proxy>
void ExpectSlotsOfALogProxy() {
    ExpectSlotsFrom(2, &Proxy::Reserved2, &Proxy::Reserved3, &Proxy::Print, &Proxy::Reserved5,
                    &Proxy::Reserved6, &Proxy::Reserved7, &Proxy::Reserved8, &Proxy::Reserved9,
                    &Proxy::Reserved10, &Proxy::Reserved11, &Proxy::Reserved12, &Proxy::SetPosition,
                    &Proxy::SetBundleName, &Proxy::SetServiceName, &Proxy::GetProxyName);
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
    NS_TEST::OperationIn<Print>(4, proxy)(proxy, 1, "value %d\n", 5);
    EXPECT_EQ(output.Text(), "value %d\n");
    EXPECT_EQ(CallSlot<std::string>(16, proxy), "DefaultLogProxy");
    NS_TEST::CallDeletingDestructor(proxy);
}

TEST(LogProxySlots, LeadTheServiceToItsProxy) {
    ExpectSlotsFrom(12, &BundleMgr::GetLogProxyProvider);
    ExpectSlotsFrom(0, &LogProxyProvider::GetLogProxy);

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

TEST(PlatformSlots, AreNumberedAsThePlatformWasBuilt) {
    ExpectSlotsFrom(2, &ServiceInterface::GetIFName, &ServiceInterface::IsValid);
    ExpectSlotsFrom(2, &NULLServiceInterface::GetIFName, &NULLServiceInterface::IsValid);
    ExpectSlotsFrom(2, &ScheduleSvcInterface::GetIFName, &ScheduleSvcInterface::IsValid);
    ExpectSlotsFrom(6, &ScheduleSvcInterface::DeleteTask);
    ExpectSlotsFrom(2, &NS_SCHEDULE_SERVICE1::PeriodicTasks::CreatePeriodicTask);
    ExpectSlotsFrom(2, &NS_SCHEDULE_SERVICE1::ScheduledTask::Run);
    ExpectSlotsFrom(2, &CorbaConfigItems::GetIntItemInfo, &CorbaConfigItems::GetStrItemInfo,
                    &CorbaConfigItems::GetCorbaConfigItems);
    ExpectSlotsFrom(2, &NS_ASN1::AsnObject::Print, &NS_ASN1::AsnObject::GetTypeName);
}

TEST(ServiceInterfaceSlots, RunTheStandInsOperations) {
    const NULLServiceInterface* const interface = NS_LOG_SERVICE1::GetNullServiceInterface();
    EXPECT_EQ(CallSlot<std::string>(2, interface), "NULLServiceInterface!");
    EXPECT_FALSE(CallSlot<bool>(3, interface));
}

}  // namespace
