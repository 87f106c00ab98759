// The monitor's start, and the one monitor of the process.
#include "control/monitorfixture.h"
#include "control/threadcalls.h"

using NS_TEST::EXIT;
using NS_TEST::NO_STATUS_IN_INIT;
using NS_TEST::StatWatch;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class MonitorStart : public NS_TEST::MonitorTest {
  protected:
    // Where the monitor looks when the environment says this; nullopt: nothing.
    std::string WatchedUnder(const std::optional<std::string>& share) {
        share_.Set(share);
        StatWatch::Forget();
        Monitor monitor(std::chrono::hours(1));
        if (monitor.Init() == 0) {
            monitor.Stop();
        }
        const std::vector<std::string> looks = StatWatch::ConfigurationFiles();
        EXPECT_EQ(looks.size(), 1U);
        share_.Set(Path());
        return looks.empty() ? "" : looks.front();
    }
};

TEST_F(MonitorStart, StartsOneThreadWhenTheFileIsThere) {
    EXPECT_EQ(monitor_.Init(), 0);
    EXPECT_EQ(monitor_.thr_count(), 1U);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(MonitorStart, FailsWithoutAThreadWhenTheFileIsMissing) {
    std::filesystem::remove(configFile_);
    EXPECT_EQ(monitor_.Init(), -1);
    EXPECT_EQ(monitor_.thr_count(), 0U);
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(1, "logswitchmonitormgr", NO_STATUS_IN_INIT)));
}

TEST_F(MonitorStart, MayBeTriedAgainWhenTheFileIsThereLater) {
    HideFile();
    EXPECT_EQ(monitor_.Init(), -1);
    ShowFile();
    EXPECT_EQ(monitor_.Init(), 0);
    SetTime(kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
}

TEST_F(MonitorStart, ReadsNoConfigurationItem) {
    EXPECT_EQ(monitor_.Init(), 0);
    EXPECT_EQ(store_.AllAsked(), 0);
    EXPECT_THAT(store_.Asked(), IsEmpty());
}

TEST_F(MonitorStart, OfAMonitorThatOnlyExistsHasNotHappened) {
    EXPECT_EQ(monitor_.thr_count(), 0U);
    EXPECT_THAT(StatWatch::ConfigurationFiles(), IsEmpty());
}

TEST_F(MonitorStart, FindsTheFileBelowTheShareDirectory) {
    EXPECT_EQ(WatchedUnder(Path()), Path("conf/corba_agent.cfg"));
}

TEST_F(MonitorStart, WithoutAShareDirectoryWatchesTheRoot) {
    EXPECT_EQ(WatchedUnder(""), "/conf/corba_agent.cfg");
    EXPECT_EQ(WatchedUnder(std::nullopt), "/conf/corba_agent.cfg");
}

TEST_F(MonitorStart, NormalisesThePath) {
    EXPECT_EQ(WatchedUnder("/no/such//place/"), "/no/such/place/conf/corba_agent.cfg");
    EXPECT_EQ(WatchedUnder("\\no\\such"), "/no/such/conf/corba_agent.cfg");
    EXPECT_EQ(WatchedUnder("relative"), "relative/conf/corba_agent.cfg");
}

TEST_F(MonitorStart, ReadsTheEnvironmentOnce) {
    ASSERT_EQ(monitor_.Init(), 0);
    monitor_.Stop();
    share_.Set("/somewhere/else");
    ASSERT_EQ(monitor_.Init(), -1);
    share_.Set(Path());
    ASSERT_EQ(monitor_.Init(), 0);
    EXPECT_THAT(StatWatch::ConfigurationFiles(),
                ElementsAre(configFile_, "/somewhere/else/conf/corba_agent.cfg", configFile_));
}

TEST_F(MonitorStart, ByOpenAnswersZeroEvenWhenTheThreadRunsAlready) {
    ASSERT_EQ(monitor_.Init(), 0);
    EXPECT_EQ(monitor_.open(), 0);
    EXPECT_EQ(monitor_.thr_count(), 1U);
}

TEST_F(MonitorStart, HasNothingToCloseByClose) {
    ASSERT_EQ(monitor_.Init(), 0);
    EXPECT_EQ(monitor_.close(), 0);
    EXPECT_EQ(monitor_.thr_count(), 1U);
    SetTime(kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
}

class TheProcessesMonitor : public NS_TEST::MonitorTest {};

TEST_F(TheProcessesMonitor, IsOne) {
    ASSERT_NE(Monitor::Instance(), nullptr);
    EXPECT_EQ(Monitor::Instance(), Monitor::Instance());
}

TEST_F(TheProcessesMonitor, IsOneForAllThreadsThatAskFirst) {
    std::vector<std::future<Monitor*>> asked;
    for (int i = 0; i < 4; ++i) {
        asked.push_back(std::async(std::launch::async, [] { return Monitor::Instance(); }));
    }
    for (std::future<Monitor*>& one : asked) {
        EXPECT_EQ(one.get(), Monitor::Instance());
    }
}

TEST_F(TheProcessesMonitor, SaysGoodbyeWhenItIsDestroyed) {
    Monitor::Instance();
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
    Monitor::Destroy();
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(1, "logswitchmonitormgr", EXIT)));
}

TEST_F(TheProcessesMonitor, IsNotCreatedToBeDestroyed) {
    Monitor::Destroy();
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(TheProcessesMonitor, IsDestroyedOnce) {
    Monitor::Instance();
    Monitor::Destroy();
    Monitor::Destroy();
    EXPECT_THAT(Proxy().Texts(), ElementsAre(EXIT));
}

TEST_F(TheProcessesMonitor, IsAFreshOneAfterItsDestruction) {
    ASSERT_EQ(Monitor::Instance()->Init(), 0);
    Monitor::Instance()->Stop();
    Monitor::Destroy();

    EXPECT_EQ(Monitor::Instance()->thr_count(), 0U);
    // One that was never started is stopped at once.
    EXPECT_EQ(Monitor::Instance()->Stop(), 0);
    EXPECT_EQ(Monitor::Instance()->Init(), 0);
    EXPECT_EQ(Monitor::Instance()->thr_count(), 1U);
}

TEST_F(TheProcessesMonitor, MayBeDestroyedAfterAFailedStart) {
    std::filesystem::remove(configFile_);
    EXPECT_EQ(Monitor::Instance()->Init(), -1);
    Monitor::Destroy();
    EXPECT_THAT(Proxy().Texts(), ElementsAre(NO_STATUS_IN_INIT, EXIT));
}

// A wall clock that is set back would lengthen a sleep that ends at a time of day.
TEST_F(TheProcessesMonitor, SleepsThirtySecondsOfTheMonotonicClock) {
    NS_TEST::ThreadCalls::Forget();
    ASSERT_EQ(Monitor::Instance()->Init(), 0);
    const timespec wakesAt = NS_TEST::ThreadCalls::AwaitDeadline();
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    EXPECT_LE(wakesAt.tv_sec, now.tv_sec + 30);
    EXPECT_GT(wakesAt.tv_sec, now.tv_sec + 30 - 25);
    Monitor::Instance()->Stop();
}

TEST_F(MonitorStart, IsAnsweredWithZeroEvenWhenThereIsNoThreadToBeHad) {
    {
        const NS_TEST::ThreadCalls::NoThreads none;
        EXPECT_EQ(monitor_.open(), 0);
        EXPECT_EQ(monitor_.Init(), 0);
    }
    EXPECT_EQ(monitor_.thr_count(), 0U);
}

TEST_F(MonitorStart, WithoutAThreadCanBeStoppedAndTriedAgain) {
    {
        const NS_TEST::ThreadCalls::NoThreads none;
        EXPECT_EQ(monitor_.Init(), 0);
    }
    auto stopped = std::async(std::launch::async, [this] { return monitor_.Stop(); });
    ASSERT_TRUE(NS_TEST::Finishes(stopped));
    EXPECT_EQ(monitor_.Init(), 0);
    SetTime(kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
}

}  // namespace
