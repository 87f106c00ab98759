// The way of the service's diagnostics to the platform's log proxy. The proxy is remembered for the
// life of the process, so each of these tests needs a process of its own.
#include <gmock/gmock.h>

#include <thread>
#include <type_traits>

#include "diagnostic/defaultlogproxy.h"
#include "diagnostic/logproxycache.h"
#include "diagnostic/messages.h"
#include "lookup/nullserviceinterface.h"
#include "platform/hostcontrol.h"
#include "support/capturedoutput.h"
#include "support/recordinglogproxy.h"

using NS_BUNDLEMGR1::DefaultLogProxy;
using NS_BUNDLEMGR1::NULLServiceInterface;
using NS_LOG_SERVICE1::Diagnostic;
using NS_LOG_SERVICE1::DiagnosticSource;
using NS_LOG_SERVICE1::GetLogProxy;
using NS_LOG_SERVICE1::kDumpFormatFailed;
using NS_LOG_SERVICE1::kFormatFailed;
using NS_LOG_SERVICE1::kMonitorGone;
using NS_LOG_SERVICE1::kPassFailed;
using NS_REFERENCE_HOST::SetLogProxyProvider;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LogProxy : public testing::Test {
  protected:
    LogProxy() { SetLogProxyProvider(&provider_); }
    ~LogProxy() override { SetLogProxyProvider(nullptr); }

    NS_TEST::RecordingLogProxy proxy_;
    NS_TEST::RecordingLogProxyProvider provider_{&proxy_};
};

TEST_F(LogProxy, IsAskedForByBundleAndServiceNameJoined) {
    EXPECT_EQ(GetLogProxy(), &proxy_);
    EXPECT_THAT(provider_.Asked(), ElementsAre("qv_base_bundleqv_base_log"));
}

TEST_F(LogProxy, IsToldTheBundleAndThenTheService) {
    GetLogProxy();
    EXPECT_THAT(proxy_.Names(), ElementsAre("bundle qv_base_bundle", "service qv_base_log"));
}

TEST_F(LogProxy, IsAskedForAndToldOnlyOnce) {
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(GetLogProxy(), &proxy_);
    }
    kFormatFailed.Report();
    EXPECT_THAT(provider_.Asked(), testing::SizeIs(1));
    EXPECT_THAT(proxy_.Names(), testing::SizeIs(2));
}

TEST_F(LogProxy, IsKeptWhenTheProviderGoesAway) {
    GetLogProxy();
    SetLogProxyProvider(nullptr);
    EXPECT_EQ(GetLogProxy(), &proxy_);
}

TEST_F(LogProxy, GetsThePositionWithEachDiagnostic) {
    const DiagnosticSource source = {"logimpl", &GetLogProxy};
    Diagnostic(source, 2, "value %d").Report(5);
    const int line = __LINE__ - 1;
    Diagnostic(source, 1, "no value").Report();
    EXPECT_THAT(proxy_.Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(2, "logimpl", "value 5"), testing::_));
    EXPECT_EQ(proxy_.Printed().at(0).line, line);
    EXPECT_EQ(proxy_.Printed().at(1).line, line + 2);
}

TEST_F(LogProxy, IsAskedForByTheMonitorOnItsOwn) {
    GetLogProxy();
    NS_TEST::RecordingLogProxy second;
    NS_TEST::RecordingLogProxyProvider secondProvider(&second);
    SetLogProxyProvider(&secondProvider);

    kPassFailed.Report();
    kMonitorGone.Report();
    kDumpFormatFailed.Report();

    EXPECT_THAT(secondProvider.Asked(), ElementsAre("qv_base_bundleqv_base_log"));
    EXPECT_THAT(second.Names(), ElementsAre("bundle qv_base_bundle", "service qv_base_log"));
    EXPECT_THAT(second.Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(1, "logswitchmonitormgr", kPassFailed.Text()),
                            NS_TEST::IsDiagnostic(1, "logswitchmonitormgr", kMonitorGone.Text())));
    EXPECT_THAT(proxy_.Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(1, "logimpl", kDumpFormatFailed.Text())));
}

TEST_F(LogProxy, IsTheSameForAllThreadsThatAskFirst) {
    std::vector<NS_BUNDLEMGR1::LogProxy*> proxies(4);
    std::vector<std::thread> threads;
    for (NS_BUNDLEMGR1::LogProxy*& proxy : proxies) {
        threads.emplace_back([&proxy] { proxy = GetLogProxy(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(proxies, testing::Each(&proxy_));
}

TEST(LogProxyWithoutAProvider, IsTheDefaultOneAndStaysIt) {
    SetLogProxyProvider(nullptr);
    NS_BUNDLEMGR1::LogProxy* const proxy = GetLogProxy();
    ASSERT_NE(dynamic_cast<DefaultLogProxy*>(proxy), nullptr);

    NS_TEST::RecordingLogProxy late;
    NS_TEST::RecordingLogProxyProvider provider(&late);
    SetLogProxyProvider(&provider);
    EXPECT_EQ(GetLogProxy(), proxy);
    EXPECT_THAT(provider.Asked(), IsEmpty());
    SetLogProxyProvider(nullptr);
}

TEST(LogProxyOfAProviderThatHasNone, IsTheDefaultOne) {
    NS_TEST::RecordingLogProxyProvider provider(nullptr);
    SetLogProxyProvider(&provider);
    EXPECT_NE(dynamic_cast<DefaultLogProxy*>(GetLogProxy()), nullptr);
    EXPECT_EQ(GetLogProxy(), GetLogProxy());
    SetLogProxyProvider(nullptr);
}

TEST(DefaultLogProxy, PrintsTheFormatItselfOnStandardOutput) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    DefaultLogProxy proxy;
    proxy.Print(1, "\nvalue %d of %s, 100%%\n", 5, "five");
    proxy.Print(2, "and no more");
    EXPECT_EQ(output.Text(), "\nvalue %d of %s, 100%%\nand no more");
}

TEST(DefaultLogProxy, DoesNothingElse) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    DefaultLogProxy proxy;
    proxy.Reserved2();
    proxy.Reserved3();
    proxy.Reserved5();
    proxy.Reserved11();
    proxy.SetPosition("file", 1);
    proxy.SetBundleName("bundle");
    proxy.SetServiceName("service");
    EXPECT_EQ(proxy.Reserved6(), 0);
    EXPECT_EQ(proxy.Reserved7(), 0);
    EXPECT_EQ(proxy.Reserved8(), 0);
    EXPECT_EQ(proxy.Reserved9(), 0);
    EXPECT_EQ(proxy.Reserved10(), 0);
    EXPECT_EQ(proxy.Reserved12(), 0);
    EXPECT_EQ(proxy.GetProxyName(), "DefaultLogProxy");
    EXPECT_EQ(output.Text(), "");
}

TEST(NullServiceInterface, IsOneInvalidObjectForTheProcess) {
    NULLServiceInterface* const null = NS_LOG_SERVICE1::GetNullServiceInterface();
    ASSERT_NE(null, nullptr);
    EXPECT_EQ(null->GetIFName(), "NULLServiceInterface!");
    EXPECT_FALSE(null->IsValid());
    EXPECT_EQ(NS_LOG_SERVICE1::GetNullServiceInterface(), null);
}

// A derived class would have to construct and destroy the virtual base itself, and may not.
TEST(NullServiceInterface, CannotBeDerivedFrom) {
    using NS_BUNDLEMGR1::FinalClass;
    EXPECT_TRUE((std::is_base_of_v<FinalClass, NULLServiceInterface>));
    EXPECT_FALSE((std::is_convertible_v<NULLServiceInterface*, FinalClass*>));
    EXPECT_FALSE(std::is_default_constructible_v<FinalClass>);
    EXPECT_FALSE(std::is_destructible_v<FinalClass>);
}

}  // namespace
