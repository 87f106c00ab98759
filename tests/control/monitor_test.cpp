// The switch monitor: its start, the one monitor of the process, and which
// changes of the configuration file make it apply the file.
#include <time.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "control/monitorfixture.h"
#include "control/threadcalls.h"

using namespace NS_TEST;
using namespace testing;

namespace {

class MonitorStart : public NS_TEST::MonitorTest {};

TEST_F(MonitorStart, StartsOneThreadThatReadsNoItemByItself) {
    EXPECT_EQ(monitor_.thr_count(), 0U);
    EXPECT_THAT(StatWatch::ConfigurationFiles(), IsEmpty());
    Start();
    EXPECT_EQ(monitor_.thr_count(), 1U);
    EXPECT_EQ(store_.AllAsked(), 0);
    EXPECT_THAT(store_.Asked(), IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(MonitorStart, FailsWithoutAThreadWhenTheFileIsMissingAndMayBeTriedAgain) {
    HideFile();
    EXPECT_EQ(monitor_.Init(), -1);
    EXPECT_EQ(monitor_.thr_count(), 0U);
    EXPECT_THAT(Proxy().Printed(), ElementsAre(MonitorSays(NO_STATUS_IN_INIT)));
    ShowFile();
    Start();
    SetTime(kBaseline + 1);
    AwaitApplications(1);
}

// The environment is read at each start, and never between.
TEST_F(MonitorStart, FindsTheFileBelowTheShareDirectory) {
    const std::pair<std::optional<std::string>, std::string> kPaths[] = {
        {Path(), Path("conf/corba_agent.cfg")},
        {"", "/conf/corba_agent.cfg"},
        {std::nullopt, "/conf/corba_agent.cfg"},
        {"/no/such//place/", "/no/such/place/conf/corba_agent.cfg"},
        {"\\no\\such", "/no/such/conf/corba_agent.cfg"},
        {"relative", "relative/conf/corba_agent.cfg"},
        {Path(), Path("conf/corba_agent.cfg")},
    };
    Monitor monitor(std::chrono::hours(1));
    for (const auto& [share, path] : kPaths) {
        share_.Set(share);
        StatWatch::Forget();
        if (monitor.Init() == 0) {
            monitor.Stop();
        }
        EXPECT_THAT(StatWatch::ConfigurationFiles(), ElementsAre(path));
    }
}

TEST_F(MonitorStart, HasNothingToOpenASecondTimeAndNothingToClose) {
    Start();
    EXPECT_EQ(monitor_.open(), 0);
    EXPECT_EQ(monitor_.close(), 0);
    EXPECT_EQ(monitor_.thr_count(), 1U);
    SetTime(kBaseline + 1);
    AwaitApplications(1);
}

TEST_F(MonitorStart, WithoutAThreadToBeHadCanBeStoppedAndTriedAgain) {
    {
        const ThreadCalls::NoThreads none;
        EXPECT_EQ(monitor_.Init(), 0);
    }
    EXPECT_EQ(monitor_.thr_count(), 0U);
    ASSERT_TRUE(FinishesOnAnotherThread([this] { monitor_.Stop(); }));
    Start();
    SetTime(kBaseline + 1);
    AwaitApplications(1);
}

// What woke the thread of an earlier start does not wake the next one.
TEST_F(MonitorStart, IsFollowedByASleepBeforeTheFirstLookEachTime) {
    Monitor monitor(std::chrono::hours(1));
    for (int start = 0; start < 2; ++start) {
        ThreadCalls::Forget();
        ASSERT_EQ(monitor.Init(), 0);
        EXPECT_NE(ThreadCalls::AwaitDeadline(), 0);
        EXPECT_EQ(StatWatch::Looks(configFile_), 0);
        monitor.Stop();
    }
}

class TheProcessesMonitor : public NS_TEST::MonitorTest {};

TEST_F(TheProcessesMonitor, SaysGoodbyeOnceWhenItIsDestroyedAndIsNotCreatedForThat) {
    Monitor::Destroy();
    Monitor::Instance()->Init();
    Monitor::Instance()->Stop();
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
    Monitor::Destroy();
    Monitor::Destroy();
    EXPECT_THAT(Proxy().Printed(), ElementsAre(MonitorSays(EXIT)));
}

TEST_F(TheProcessesMonitor, MayBeDestroyedAfterAFailedStart) {
    std::filesystem::remove(configFile_);
    EXPECT_EQ(Monitor::Instance()->Init(), -1);
    Monitor::Destroy();
    EXPECT_THAT(Proxy().Texts(), ElementsAre(NO_STATUS_IN_INIT, EXIT));
}

// A wall clock that is set back would lengthen a sleep that ends at a time of day.
TEST_F(TheProcessesMonitor, SleepsThirtySecondsOfTheMonotonicClock) {
    const auto second = [] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return int64_t{now.tv_sec};
    };
    const int64_t before = second();
    ThreadCalls::Forget();
    ASSERT_EQ(Monitor::Instance()->Init(), 0);
    const int64_t wakesAt = ThreadCalls::AwaitDeadline();
    EXPECT_GE(wakesAt, before + 30);
    EXPECT_LE(wakesAt, second() + 30);
    Monitor::Instance()->Stop();
}

class SwitchMonitor : public NS_TEST::MonitorTest {};

// Not the file that it starts with, nor the one that it was made with.
TEST_F(SwitchMonitor, AppliesAFileWithALaterTimeOnce) {
    SetTime(kBaseline + 50);
    Start();
    store_.Set("logswitch", "0,1,1,1");
    AwaitApplications(0);
    SetTime(kBaseline + 51);
    AwaitApplications(1);
    EXPECT_EQ(Levels(), "0111");
    AwaitApplications(1);
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(MonitorSays("[LogSwitchMonitorMgr::Check] LogLevel_0 close \n")));
}

TEST_F(SwitchMonitor, AppliesAFileWithAnyOtherTime) {
    Start();
    int applications = 0;
    for (const time_t time : {kBaseline + 1, kBaseline + 2, kBaseline - 100000, time_t{-1}}) {
        SetTime(time);
        AwaitApplications(++applications);
    }
    EXPECT_EQ(Levels(), "1111");
    EXPECT_THAT(Proxy().Texts(), IsEmpty()) << "it was only touched";
}

// Neither the content nor the size nor the file itself counts, nor a part of a second.
TEST_F(SwitchMonitor, LooksAtWholeSecondsOnly) {
    Start();
    store_.Set("logswitch", "0,0,0,0");
    Replace("a longer text than before\n", kBaseline);
    AwaitApplications(0);
    for (const long nanoseconds : {1L, 999999999L}) {
        SetTime(kBaseline, nanoseconds);
        AwaitApplications(0);
    }
    EXPECT_EQ(Levels(), "1111");
    SetTime(kBaseline + 1);
    AwaitApplications(1);
    EXPECT_EQ(Levels(), "0000");

    store_.Set("logswitch", "1,1,1,1");
    SetTime(kBaseline + 1, 700000000);
    AwaitApplications(1);
    EXPECT_EQ(Levels(), "0000");
}

// A file that is gone is reported at every pass.
TEST_F(SwitchMonitor, AppliesAFileThatComesBackOnlyWithAnotherTime) {
    Start();
    HideFile();
    EXPECT_TRUE(Proxy().WaitFor(NO_STATUS, 3));
    EXPECT_THAT(Proxy().Printed(), Each(MonitorSays(NO_STATUS)));
    ShowFile();
    AwaitFullPass();
    Proxy().Forget();
    AwaitApplications(0);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());

    HideFile();
    EXPECT_TRUE(Proxy().WaitFor(NO_STATUS));
    Replace("", kBaseline + 1);
    AwaitApplications(1);
    AwaitApplications(1);
}

TEST_F(SwitchMonitor, DoesNotRetryAnApplicationThatFailed) {
    Start();
    store_.Set("logswitch", "0,0,0,0");
    const std::function<void()> kFailures[] = {[] { throw std::runtime_error("broken"); },
                                               [] { throw 42; }, RaiseStoreOutOfReach};
    int applications = 0;
    for (const auto& failure : kFailures) {
        Proxy().Forget();
        store_.OnAllAsked(failure);
        SetTime(kBaseline + ++applications);
        AwaitApplications(applications);
        store_.OnAllAsked(nullptr);
        AwaitApplications(applications);
        EXPECT_EQ(Levels(), "1111");
        EXPECT_THAT(Proxy().Printed(), ElementsAre(MonitorSays(SVC_ERROR)));
    }
    EXPECT_EQ(monitor_.thr_count(), 1U);
    SetTime(kBaseline + 100);
    AwaitFullPass();
    EXPECT_EQ(Levels(), "0000");
}

// A log proxy that throws, even for every report, must not end the process.
TEST_F(SwitchMonitor, GoesOnWhenItCannotReport) {
    for (const char* refused : {NO_STATUS, SVC_ERROR}) {
        Proxy().onPrint = [refused](const std::string& text) {
            if (text == NO_STATUS || text == refused) {
                throw 42;
            }
        };
        Start();
        HideFile();
        AwaitFullPass();
        EXPECT_EQ(monitor_.thr_count(), 1U);
        monitor_.Stop();
        ShowFile();
    }
    Proxy().onPrint = nullptr;
    EXPECT_THAT(Proxy().Texts(), Each(SVC_ERROR));
    EXPECT_THAT(Proxy().Texts(), Not(IsEmpty()));
}

class SwitchFileChange : public NS_TEST::MonitorTest {
  protected:
    // The store is the one over the file.
    SwitchFileChange() {
        NS_REFERENCE_HOST::SetConfigItems(nullptr);
        WriteFile(configFile_, Text("1,1,1,1", "0"));
        SetTime(kBaseline);
    }

    static std::string Text(const std::string& levels, const std::string& flags) {
        return "# switches\nlogswitch = " + levels + "\nbEnableAsnLog=" + flags +
               "\n  bLogOutputPara =  " + flags + "  \nother = 1\n";
    }
};

// The three values of one application come from one file, however fast the files change.
TEST_F(SwitchFileChange, IsNeverAppliedInParts) {
    std::atomic<bool> done{false};
    std::thread administrator([&] {
        for (int change = 1; !done; ++change) {
            Replace(change % 2 == 1 ? Text("0,0,0,0", "1") : Text("1,1,1,1", "0"),
                    kBaseline + change);
        }
    });
    int inParts = 0;
    int changes = 0;
    std::string previous = State();
    for (int i = 0; i < 100000 && changes < 50; ++i) {
        monitor_.Check();
        const std::string state = State();
        inParts += state == "0000/1/1" || state == "1111/0/0" ? 0 : 1;
        changes += state == previous ? 0 : 1;
        previous = state;
    }
    done = true;
    administrator.join();
    EXPECT_EQ(inParts, 0);
    EXPECT_EQ(changes, 50);
}

}  // namespace
