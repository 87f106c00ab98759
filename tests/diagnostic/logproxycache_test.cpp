// The way of the service's diagnostics to the platform's log proxy. Those tests
// that use the service's own caches need a process of their own: a cache is
// filled once in each.
#include "diagnostic/logproxycache.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <set>
#include <thread>

#include "diagnostic/defaultlogproxy.h"
#include "diagnostic/messages.h"
#include "platform/hostcontrol.h"
#include "support/capturedoutput.h"
#include "support/onthreads.h"
#include "support/recordinglogproxy.h"

using NS_BUNDLEMGR1::DefaultLogProxy;
using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using namespace testing;
using NS_REFERENCE_HOST::SetLogProxyProvider;

namespace {

const char* const kJoinedNames = "qv_base_bundleqv_base_log";

class LogProxy : public testing::Test {
  protected:
    LogProxy() { SetLogProxyProvider(&provider_); }
    ~LogProxy() override { SetLogProxyProvider(nullptr); }

    // What eight threads get that ask the cache at the same moment.
    std::set<NS_BUNDLEMGR1::LogProxy*> ProxiesOfManyThreads() {
        std::vector<NS_BUNDLEMGR1::LogProxy*> seen(8);
        OnThreads(seen.size(), [&](size_t thread) { seen[thread] = cache_.Get(); });
        return {seen.begin(), seen.end()};
    }

    RecordingLogProxy proxy_;
    RecordingLogProxyProvider provider_{&proxy_};
    LogProxyCache cache_;
};

TEST_F(LogProxy, IsAskedForAndToldItsNamesOnce) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(cache_.Get(), &proxy_);
    }
    EXPECT_THAT(provider_.Asked(), ElementsAre(kJoinedNames));
    EXPECT_THAT(proxy_.Names(), ElementsAre("bundle qv_base_bundle", "service qv_base_log"));
    EXPECT_THAT(proxy_.Printed(), IsEmpty());
}

TEST_F(LogProxy, IsKeptWhateverIsOfferedLater) {
    cache_.Get();
    RecordingLogProxy second;
    RecordingLogProxyProvider other(&second);
    for (RecordingLogProxyProvider* later : {&other, static_cast<decltype(&other)>(nullptr)}) {
        SetLogProxyProvider(later);
        EXPECT_EQ(cache_.Get(), &proxy_);
    }
    EXPECT_THAT(other.Asked(), IsEmpty());
}

// Nobody gives out proxies, or has none for the service. The cache never frees
// what it has.
TEST_F(LogProxy, IsAFallbackForGoodWhereThereIsNone) {
    provider_.SetProxy(nullptr);
    for (RecordingLogProxyProvider* none :
         {static_cast<decltype(&provider_)>(nullptr), &provider_}) {
        LogProxyCache cache;
        SetLogProxyProvider(none);
        const std::unique_ptr<NS_BUNDLEMGR1::LogProxy> proxy(cache.Get());
        ASSERT_NE(proxy, nullptr);
        EXPECT_EQ(proxy->GetProxyName(), "DefaultLogProxy");
        provider_.SetProxy(&proxy_);
        SetLogProxyProvider(&provider_);
        EXPECT_EQ(cache.Get(), proxy.get());
        provider_.SetProxy(nullptr);
    }
    EXPECT_THAT(provider_.Asked(), ElementsAre(kJoinedNames));
    EXPECT_THAT(proxy_.Names(), IsEmpty());
}

// A proxy may have something to say while it is told its names; that must not
// lead round in circles.
TEST_F(LogProxy, IsThereAlreadyWhileItIsToldItsNames) {
    class AskingProxy : public RecordingLogProxy {
      public:
        explicit AskingProxy(LogProxyCache& cache) : cache_(cache) {}
        void SetBundleName(const char*) override { seen.push_back(cache_.Get()); }
        void SetServiceName(const char*) override { seen.push_back(cache_.Get()); }
        std::vector<NS_BUNDLEMGR1::LogProxy*> seen;

      private:
        LogProxyCache& cache_;
    };
    AskingProxy proxy(cache_);
    provider_.SetProxy(&proxy);
    EXPECT_EQ(cache_.Get(), &proxy);
    EXPECT_THAT(provider_.Asked(), ElementsAre(kJoinedNames));
    EXPECT_THAT(proxy.seen, ElementsAre(&proxy, &proxy));
}

TEST_F(LogProxy, IsTheSameForAllThreads) {
    EXPECT_THAT(ProxiesOfManyThreads(), ElementsAre(&proxy_));
}

// Threads that come first at the same moment may each make one.
TEST_F(LogProxy, IsAFallbackForEachThread) {
    SetLogProxyProvider(nullptr);
    const auto proxies = ProxiesOfManyThreads();
    EXPECT_THAT(proxies, Contains(cache_.Get()));
    for (NS_BUNDLEMGR1::LogProxy* proxy : proxies) {
        ASSERT_NE(proxy, nullptr);
        EXPECT_EQ(proxy->GetProxyName(), "DefaultLogProxy");
        delete proxy;
    }
}

TEST_F(LogProxy, GetsThePositionWithEachDiagnostic) {
    const DiagnosticSource source = {"logimpl", &GetLogProxy};
    Diagnostic(source, 2, "value %d").Report(5);
    const int line = __LINE__ - 1;
    Diagnostic(source, 1, "no value").Report();
    EXPECT_THAT(proxy_.Printed(), ElementsAre(IsDiagnostic(2, "logimpl", "value 5"),
                                              IsDiagnostic(1, "logimpl", "no value")));
    EXPECT_EQ(proxy_.Printed().at(0).line, line);
    EXPECT_EQ(proxy_.Printed().at(1).line, line + 2);
}

TEST_F(LogProxy, IsOneForTheServiceAndAnotherForTheMonitor) {
    EXPECT_EQ(GetLogProxy(), &proxy_);
    RecordingLogProxy second;
    RecordingLogProxyProvider secondProvider(&second);
    SetLogProxyProvider(&secondProvider);

    kPassFailed.Report();
    kDumpFormatFailed.Report();

    EXPECT_THAT(secondProvider.Asked(), ElementsAre(kJoinedNames));
    EXPECT_THAT(second.Names(), ElementsAre("bundle qv_base_bundle", "service qv_base_log"));
    EXPECT_THAT(second.Printed(),
                ElementsAre(IsDiagnostic(1, "logswitchmonitormgr", kPassFailed.Text())));
    EXPECT_THAT(proxy_.Printed(),
                ElementsAre(IsDiagnostic(1, "logimpl", kDumpFormatFailed.Text())));
}

// What one thread was given is given to the others as well, for either name.
TEST_F(LogProxy, IsAskedForOnceByAllThreadsTogether) {
    const auto report = [] {
        kDumpFormatFailed.Report();
        kPassFailed.Report();
    };
    for (int i = 0; i < 3; ++i) {
        std::thread(report).join();
    }
    report();
    EXPECT_THAT(provider_.Asked(), ElementsAre(kJoinedNames, kJoinedNames));
    EXPECT_THAT(proxy_.Names(), SizeIs(4));
    EXPECT_THAT(proxy_.Printed(), SizeIs(8));
}

TEST(FallbackLogProxy, PrintsTheFormatItselfOnStandardOutput) {
    const std::string longOne(100'000, '%');
    const CapturedOutput output(STDOUT_FILENO);
    DefaultLogProxy().Print(1, "\nvalue %d of %s, 100%%\n", 5, "five");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    DefaultLogProxy().Print(2, longOne.c_str());
#pragma GCC diagnostic pop
    EXPECT_EQ(output.Text(), "\nvalue %d of %s, 100%%\n" + longOne);
}

TEST(FallbackLogProxy, DoesNothingElse) {
    const CapturedOutput output(STDOUT_FILENO);
    const CapturedOutput errors(STDERR_FILENO);
    DefaultLogProxy proxy;
    proxy.Reserved2();
    proxy.Reserved3();
    proxy.Reserved5();
    proxy.Reserved11();
    EXPECT_THAT((std::vector<int>{proxy.Reserved6(), proxy.Reserved7(), proxy.Reserved8(),
                                  proxy.Reserved9(), proxy.Reserved10(), proxy.Reserved12()}),
                Each(0));
    proxy.SetPosition(nullptr, -1);
    proxy.SetBundleName(nullptr);
    proxy.SetServiceName(nullptr);
    EXPECT_EQ(proxy.GetProxyName(), "DefaultLogProxy");
    EXPECT_EQ(output.Text(), "");
    EXPECT_EQ(errors.Text(), "");
    EXPECT_EQ(sizeof(DefaultLogProxy), sizeof(void*));
}

}  // namespace
