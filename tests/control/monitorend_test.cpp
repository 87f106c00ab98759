// The monitor's end: stopping its thread and deleting it.
#include <pthread.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <thread>

#include "control/monitorfixture.h"
#include "support/capturedoutput.h"
#include "support/repetitions.h"

using namespace NS_TEST;
using testing::ElementsAre;

namespace {

constexpr int kRounds = Repetitions(10000);

class MonitorEnd : public NS_TEST::MonitorTest {
  protected:
    static std::future<int> StopInBackground(Monitor& monitor) {
        return std::async(std::launch::async, [&monitor] { return monitor.Stop(); });
    }

    // How many areas of memory the process has mapped; each thread that was never
    // waited for leaves its stack behind.
    static int MappedAreas() {
        std::ifstream maps("/proc/self/maps");
        std::string line;
        int areas = 0;
        while (std::getline(maps, line)) {
            ++areas;
        }
        return areas;
    }
};

TEST_F(MonitorEnd, WithoutARunningThreadReturnsAtOnceAndAgain) {
    const auto stopTwice = [this] {
        EXPECT_EQ(monitor_.Stop(), 0);
        EXPECT_EQ(monitor_.Stop(), 0);
    };
    EXPECT_TRUE(FinishesOnAnotherThread(stopTwice)) << "never started";
    HideFile();
    ASSERT_EQ(monitor_.Init(), -1);
    EXPECT_TRUE(FinishesOnAnotherThread(stopTwice)) << "could not start";
    ShowFile();
    Start();
    monitor_.Stop();
    HideFile();
    ASSERT_EQ(monitor_.Init(), -1);
    EXPECT_TRUE(FinishesOnAnotherThread(stopTwice)) << "could not start again";
}

TEST_F(MonitorEnd, AfterARestartThatFailedEndsTheThreadThatStillRuns) {
    Start();
    HideFile();
    ASSERT_EQ(monitor_.Init(), -1);
    EXPECT_EQ(monitor_.thr_count(), 1U);
    EXPECT_EQ(monitor_.Stop(), 0);
    EXPECT_EQ(monitor_.thr_count(), 0U);
}

TEST_F(MonitorEnd, EndsTheLooksAtTheFileUntilAnotherStart) {
    for (int round = 1; round <= 3; ++round) {
        Start();
        SetTime(kBaseline + round);
        AwaitApplications(round);
        monitor_.Stop();
        EXPECT_EQ(monitor_.thr_count(), 0U);
    }
    const int looks = StatWatch::Looks(configFile_);
    SetTime(kBaseline + 100);
    EXPECT_EQ(StatWatch::Looks(configFile_), looks);
}

// The end of a thread is signalled once. Running the thread's body by hand
// signals it again; the body ends at once when it has been asked to before.
TEST_F(MonitorEnd, AskedForASecondTimeBlocks) {
    Start();
    monitor_.Stop();
    auto second = StopInBackground(monitor_);
    EXPECT_TRUE(IsStillBlocked(second));
    EXPECT_EQ(monitor_.svc(), 0);
    ASSERT_TRUE(Finishes(second));
    EXPECT_EQ(second.get(), 0);
}

TEST_F(MonitorEnd, WaitsForTheApplicationThatIsUnderWay) {
    std::promise<void> reached;
    std::promise<void> release;
    store_.OnAllAsked([&] {
        reached.set_value();
        release.get_future().wait();
    });
    store_.Set("logswitch", "0,0,0,0");
    Start();
    SetTime(kBaseline + 1);
    reached.get_future().wait();

    auto stopped = StopInBackground(monitor_);
    EXPECT_TRUE(IsStillBlocked(stopped));
    EXPECT_EQ(Levels(), "1111");
    release.set_value();
    ASSERT_TRUE(Finishes(stopped));
    EXPECT_EQ(Levels(), "0000");
    EXPECT_EQ(store_.AllAsked(), 1);
}

// It has no file then, which it tells at each look.
TEST_F(MonitorEnd, WaitsForAThreadThatOpenAloneHasStarted) {
    std::promise<void> reached;
    std::promise<void> release;
    Proxy().onPrint = [&](const std::string&) {
        reached.set_value();
        release.get_future().wait();
    };
    EXPECT_EQ(monitor_.open(), 0);
    reached.get_future().wait();

    auto stopped = StopInBackground(monitor_);
    EXPECT_TRUE(IsStillBlocked(stopped));
    release.set_value();
    ASSERT_TRUE(Finishes(stopped));
    EXPECT_EQ(monitor_.thr_count(), 0U);
    monitor_.wait();
    Proxy().onPrint = nullptr;
}

// Whoever deletes the monitor afterwards still has its thread to end.
TEST_F(MonitorEnd, IsStillToComeWhenTheThreadThatAskedForItWasCancelled) {
    std::promise<void> reached;
    std::promise<void> release;
    store_.OnAllAsked([&] {
        reached.set_value();
        release.get_future().wait();
    });
    Start();
    SetTime(kBaseline + 1);
    reached.get_future().wait();
    std::thread([this] {
        ::pthread_cancel(::pthread_self());
        monitor_.Stop();
    }).join();

    auto ended = std::async(std::launch::async, [this] { monitor_.EndForgottenThread(); });
    EXPECT_TRUE(IsStillBlocked(ended));
    release.set_value();
    ASSERT_TRUE(Finishes(ended));
    EXPECT_EQ(monitor_.thr_count(), 0U);
}

TEST_F(MonitorEnd, GoesOnWhenTheGoodbyeFails) {
    const CapturedOutput output(STDOUT_FILENO);
    Proxy().onPrint = [](const std::string&) { throw std::runtime_error("broken"); };
    delete new Monitor;
    Proxy().onPrint = [](const std::string&) { throw 42; };
    Monitor::Instance();
    Monitor::Destroy();
    Proxy().onPrint = nullptr;
    EXPECT_EQ(output.Text(),
              "[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] catch unkn ex!\n"
              "[LogSwitchMonitorMgr::~LogSwitchMonitorMgr] catch unkn ex!\n");
}

TEST_F(MonitorEnd, MayBeFollowedByTheDeletionAtOnce) {
    Monitor first(std::chrono::hours(1));
    ASSERT_EQ(first.Init(), 0);
    first.Stop();
    const int areasBefore = MappedAreas();
    for (int round = 0; round < kRounds; ++round) {
        auto monitor = std::make_unique<Monitor>(std::chrono::hours(1));
        ASSERT_EQ(monitor->Init(), 0);
        ASSERT_EQ(monitor->Stop(), 0);
    }
    EXPECT_LT(MappedAreas() - areasBefore, kRounds / 2);
    EXPECT_EQ(Proxy().Texts().size(), static_cast<size_t>(kRounds));
}

// The thread does not sleep, so the stop meets it at every place.
TEST_F(MonitorEnd, MayMeetTheThreadAnywhere) {
    for (int round = 0; round < 1000; ++round) {
        auto monitor = std::make_unique<Monitor>(std::chrono::milliseconds(0));
        SetTime(kBaseline + round);
        ASSERT_EQ(monitor->Init(), 0);
        SetTime(kBaseline + round + 1);
        if (round % 3 == 0) {
            ASSERT_TRUE(StatWatch::WaitForLooks(configFile_, 1));
        }
        ASSERT_EQ(monitor->Stop(), 0);
    }
    EXPECT_THAT(Proxy().Texts(), testing::Each(EXIT));
}

// Nobody waits for the thread that is left behind, which must not run on
// without its object: it never comes back from the store.
TEST_F(MonitorEnd, IsNotWaitedForByTheDestruction) {
    static auto& store = *new ScriptedConfigItems;  // static: never freed, and no leak
    static auto& reached = *new std::promise<void>;
    store.OnAllAsked([] {
        reached.set_value();
        for (;;) {
            pause();
        }
    });
    NS_REFERENCE_HOST::SetConfigItems(&store);
    Monitor* const monitor = Monitor::Instance(std::chrono::milliseconds(5));
    ASSERT_EQ(monitor->Init(), 0);
    SetTime(kBaseline + 1);
    reached.get_future().wait();
    Monitor::Destroy();
    EXPECT_THAT(Proxy().Texts(), ElementsAre(EXIT));
}

}  // namespace
