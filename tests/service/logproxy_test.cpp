// The way to the platform's log proxy, and what stands in for it.
#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "diagnostic/defaultlogproxy.h"
#include "diagnostic/diagnostic.h"
#include "diagnostic/logproxycache.h"
#include "platform/hostcontrol.h"
#include "support/capturedoutput.h"
#include "support/recordinglogproxy.h"

using NS_BUNDLEMGR1::DefaultLogProxy;
using NS_BUNDLEMGR1::LogProxy;
using NS_LOG_SERVICE1::LogProxyCache;
using NS_REFERENCE_HOST::SetLogProxyProvider;
using NS_TEST::CapturedOutput;
using NS_TEST::RecordingLogProxy;
using NS_TEST::RecordingLogProxyProvider;
using testing::ElementsAre;

namespace {

class LogProxyAccess : public testing::Test {
  protected:
    LogProxyAccess() { SetLogProxyProvider(&provider_); }
    ~LogProxyAccess() override { SetLogProxyProvider(nullptr); }

    RecordingLogProxy proxy_;
    RecordingLogProxyProvider provider_{&proxy_};
    LogProxyCache cache_;
};

TEST_F(LogProxyAccess, AsksTheBundleManagerOnceAndTellsTheNamesOnce) {
    LogProxy* const proxy = cache_.Get();
    EXPECT_EQ(proxy, &proxy_);
    EXPECT_EQ(cache_.Get(), proxy);
    EXPECT_EQ(cache_.Get(), proxy);
    EXPECT_THAT(provider_.Asked(), ElementsAre("qv_base_bundleqv_base_log"));
    EXPECT_THAT(proxy_.Names(), ElementsAre("bundle qv_base_bundle", "service qv_base_log"));
    EXPECT_TRUE(proxy_.Printed().empty());
}

TEST_F(LogProxyAccess, KeepsItsProxyWhateverIsOfferedLater) {
    LogProxy* const proxy = cache_.Get();
    RecordingLogProxy second;
    RecordingLogProxyProvider other(&second);
    SetLogProxyProvider(&other);
    EXPECT_EQ(cache_.Get(), proxy);
    SetLogProxyProvider(nullptr);
    EXPECT_EQ(cache_.Get(), proxy);
    EXPECT_TRUE(other.Asked().empty());
}

TEST_F(LogProxyAccess, FallsBackWhereNobodyGivesOutProxies) {
    SetLogProxyProvider(nullptr);
    LogProxy* const proxy = cache_.Get();
    ASSERT_NE(proxy, nullptr);
    const std::unique_ptr<LogProxy> notFreedByTheCache(proxy);
    EXPECT_EQ(proxy->GetProxyName(), "DefaultLogProxy");
    EXPECT_EQ(cache_.Get(), proxy);
    SetLogProxyProvider(&provider_);
    EXPECT_EQ(cache_.Get(), proxy);
    EXPECT_TRUE(provider_.Asked().empty());
}

TEST_F(LogProxyAccess, FallsBackWhereThereIsNoProxyForTheService) {
    provider_.SetProxy(nullptr);
    LogProxy* const proxy = cache_.Get();
    ASSERT_NE(proxy, nullptr);
    const std::unique_ptr<LogProxy> notFreedByTheCache(proxy);
    EXPECT_EQ(proxy->GetProxyName(), "DefaultLogProxy");
    provider_.SetProxy(&proxy_);
    EXPECT_EQ(cache_.Get(), proxy);
    EXPECT_THAT(provider_.Asked(), ElementsAre("qv_base_bundleqv_base_log"));
    EXPECT_TRUE(proxy_.Names().empty());
}

// A proxy may have something to say while it is told its names; that must not lead round in
// circles.
TEST_F(LogProxyAccess, IsThereAlreadyWhileItIsToldItsNames) {
    class AskingProxy : public RecordingLogProxy {
      public:
        explicit AskingProxy(LogProxyCache& cache) : cache_(cache) {}
        void SetBundleName(const char*) override { seen.push_back(cache_.Get()); }
        void SetServiceName(const char*) override { seen.push_back(cache_.Get()); }
        std::vector<LogProxy*> seen;

      private:
        LogProxyCache& cache_;
    };
    AskingProxy proxy(cache_);
    RecordingLogProxyProvider provider(&proxy);
    SetLogProxyProvider(&provider);
    EXPECT_EQ(cache_.Get(), &proxy);
    EXPECT_THAT(provider.Asked(), ElementsAre("qv_base_bundleqv_base_log"));
    EXPECT_THAT(proxy.seen, ElementsAre(&proxy, &proxy));
}

// What eight threads get from a new cache.
std::set<LogProxy*> ProxiesOfManyThreads() {
    LogProxyCache cache;
    std::vector<LogProxy*> seen(800);
    std::vector<std::thread> threads;
    for (size_t number = 0; number < 8; ++number) {
        threads.emplace_back([&cache, &seen, number] {
            for (size_t round = 0; round < 100; ++round) {
                seen[100 * number + round] = cache.Get();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return std::set<LogProxy*>(seen.begin(), seen.end());
}

TEST_F(LogProxyAccess, GivesEveryThreadTheProxyThatIsOffered) {
    EXPECT_THAT(ProxiesOfManyThreads(), ElementsAre(&proxy_));
}

// Threads that come first at the same moment may each make one.
TEST_F(LogProxyAccess, GivesEveryThreadAFallback) {
    SetLogProxyProvider(nullptr);
    const std::set<LogProxy*> proxies = ProxiesOfManyThreads();
    EXPECT_LE(proxies.size(), 8u);
    for (LogProxy* proxy : proxies) {
        ASSERT_NE(proxy, nullptr);
        EXPECT_EQ(proxy->GetProxyName(), "DefaultLogProxy");
        delete proxy;
    }
}

// Needs a process of its own: there is one first use in each.
TEST(ServiceLogProxy, IsOneForTheProcess) {
    RecordingLogProxy& offered = *new RecordingLogProxy;
    RecordingLogProxyProvider& provider = *new RecordingLogProxyProvider(&offered);
    SetLogProxyProvider(&provider);
    LogProxy* const proxy = NS_LOG_SERVICE1::GetLogProxy();
    EXPECT_EQ(proxy, &offered);
    EXPECT_EQ(NS_LOG_SERVICE1::GetLogProxy(), proxy);

    const NS_LOG_SERVICE1::DiagnosticSource source = {"logimpl", &NS_LOG_SERVICE1::GetLogProxy};
    NS_LOG_SERVICE1::Diagnostic(source, 2, "text %d %s").Report(5, "value");
    const auto reports = offered.Printed();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].level, 2);
    EXPECT_EQ(reports[0].text, "text 5 value");
    EXPECT_EQ(reports[0].file, "logimpl");
    EXPECT_GT(reports[0].line, 0);
    EXPECT_THAT(provider.Asked(), ElementsAre("qv_base_bundleqv_base_log"));
}

TEST(FallbackLogProxy, PrintsTheFormatItself) {
    DefaultLogProxy proxy;
    const CapturedOutput output(STDOUT_FILENO);
    const CapturedOutput errors(STDERR_FILENO);
    proxy.SetPosition("logimpl", 210);
    proxy.Print(1, "\nlog output mode value : %d, it is meaningless !!\n", 7);
    EXPECT_EQ(output.Text(), "\nlog output mode value : %d, it is meaningless !!\n");
    proxy.Print(2, "%s %s %%\n", "a", "b");
    EXPECT_EQ(output.Text(), "\nlog output mode value : %d, it is meaningless !!\n%s %s %%\n");
    EXPECT_EQ(errors.Text(), "");
}

TEST(FallbackLogProxy, PrintsLongAndEmptyTexts) {
    DefaultLogProxy proxy;
    const CapturedOutput output(STDOUT_FILENO);
    const std::string text(100'000, '%');
    proxy.Print(1, "%s", "");
    EXPECT_EQ(output.Text(), "%s");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    const char* const format = text.c_str();
    proxy.Print(1, format);
#pragma GCC diagnostic pop
    EXPECT_EQ(output.Text(), "%s" + text);
}

TEST(FallbackLogProxy, DoesNothingElse) {
    const CapturedOutput output(STDOUT_FILENO);
    const CapturedOutput errors(STDERR_FILENO);
    DefaultLogProxy proxy;
    proxy.Reserved2();
    proxy.Reserved3();
    proxy.Reserved5();
    EXPECT_EQ(proxy.Reserved6(), 0);
    EXPECT_EQ(proxy.Reserved7(), 0);
    EXPECT_EQ(proxy.Reserved8(), 0);
    EXPECT_EQ(proxy.Reserved9(), 0);
    EXPECT_EQ(proxy.Reserved10(), 0);
    proxy.Reserved11();
    EXPECT_EQ(proxy.Reserved12(), 0);
    proxy.SetPosition(nullptr, -1);
    proxy.SetBundleName(nullptr);
    proxy.SetServiceName(nullptr);
    EXPECT_EQ(proxy.GetProxyName(), "DefaultLogProxy");
    EXPECT_EQ(output.Text(), "");
    EXPECT_EQ(errors.Text(), "");
    EXPECT_EQ(sizeof(DefaultLogProxy), sizeof(void*));
}

}  // namespace
