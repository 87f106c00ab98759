// The slots by which the service calls the platform.
#include <gtest/gtest.h>

#include <string>

#include "abi/slots.h"
#include "asn/asnobject.h"
#include "bundlemgr/bundlemgr.h"
#include "bundlemgr/corbaconfigitems.h"
#include "diagnostic/defaultlogproxy.h"
#include "diagnostic/logproxycache.h"
#include "lookup/nullserviceinterface.h"
#include "schedule/periodictasks.h"
#include "schedule/schedulesvcinterface.h"
#include "support/recordinglogproxy.h"

using namespace NS_BUNDLEMGR1;
using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;
using namespace NS_TEST;

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

TEST(LogProxySlots, LeadTheServiceToItsProxy) {
    ExpectSlotsFrom(12, &BundleMgr::GetLogProxyProvider);
    ExpectSlotsFrom(0, &LogProxyProvider::GetLogProxy);

    RecordingLogProxy proxy;
    RecordingLogProxyProvider provider(&proxy);
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
