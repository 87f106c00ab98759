// Periodic tasks: when they run, and how they end.
#include "schedule/taskscheduler.h"

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include "agentctl/tasks.h"
#include "support/allocations.h"
#include "support/capturedoutput.h"
#include "support/onthreads.h"

namespace {

using namespace std::chrono_literals;
using NS_REFERENCE_HOST::TaskScheduler;
using namespace NS_TEST;
using ::testing::HasSubstr;
using Clock = TaskScheduler::Clock;

// Runs for as long as the test wants.
class BlockedTask {
  public:
    // Whether it has begun.
    bool AwaitBegin() { return entered_.Await(); }

    // Lets it end, on another thread, while `action` waits for that.
    template <class Action>
    void LetEndDuring(Action action) {
        std::thread other([this] { mayLeave_.Happen(); });
        action();
        EXPECT_TRUE(left_);
        other.join();
    }

    CountingTask task{[this] {
        entered_.Happen();
        mayLeave_.Await();
        left_ = true;
    }};

  private:
    Happening entered_;
    Happening mayLeave_;
    std::atomic<bool> left_{false};
};

TEST(TaskScheduler, RunsATaskAgainAndAgainAheadOfOneThatIsDueLater) {
    CountingTask later;
    CountingTask sooner;
    TaskScheduler scheduler;
    scheduler.Start();
    scheduler.Create(1h, later);
    scheduler.Create(1ms, sooner);
    EXPECT_TRUE(sooner.AwaitRuns(5));
    EXPECT_EQ(later.Runs(), 0);
}

TEST(TaskScheduler, HandlesStartAtOneAreNeverUsedAgainAndOthersCannotBeDeleted) {
    CountingTask task;
    TaskScheduler scheduler;
    EXPECT_LT(scheduler.Create(0ms, task), 0);
    EXPECT_LT(scheduler.Create(-1ms, task), 0);
    EXPECT_EQ(scheduler.Create(1h, task), 1);
    EXPECT_EQ(scheduler.Create(1h, task), 2);
    EXPECT_TRUE(scheduler.Delete(2));
    EXPECT_TRUE(scheduler.Delete(1));
    for (const int64_t handle : {-1, 0, 1, 2, 3}) {
        EXPECT_FALSE(scheduler.Delete(handle));
    }
    EXPECT_EQ(scheduler.Create(1h, task), 3);
}

TEST(TaskScheduler, ADeletedTaskDoesNotRunAnyMore) {
    CountingTask deleted;
    CountingTask other;
    TaskScheduler scheduler;
    scheduler.Start();
    const int64_t handle = scheduler.Create(1ms, deleted);
    ASSERT_TRUE(deleted.AwaitRuns(1));
    EXPECT_TRUE(scheduler.Delete(handle));
    const int runs = deleted.Runs();
    scheduler.Create(1ms, other);
    ASSERT_TRUE(other.AwaitRuns(20));
    EXPECT_EQ(deleted.Runs(), runs);
}

TEST(TaskScheduler, DeletingAndStoppingWaitForTheCallbackThatRuns) {
    for (const bool stops : {false, true}) {
        BlockedTask blocked;
        TaskScheduler scheduler;
        scheduler.Start();
        const int64_t handle = scheduler.Create(1ms, blocked.task);
        ASSERT_TRUE(blocked.AwaitBegin());
        blocked.LetEndDuring([&] {
            if (stops) {
                scheduler.Stop();
            } else {
                EXPECT_TRUE(scheduler.Delete(handle));
            }
        });
    }
}

TEST(TaskScheduler, OfTwoThreadsThatDeleteATaskExactlyOneIsToldSoAndBothWait) {
    for (int round = 0; round < 100; ++round) {
        std::atomic<bool> inside{false};
        CountingTask task([&] {
            inside = true;
            std::this_thread::yield();
            inside = false;
        });
        TaskScheduler scheduler;
        scheduler.Start();
        const int64_t handle = scheduler.Create(1ms, task);
        ASSERT_TRUE(task.AwaitRuns(1));
        std::atomic<int> deleted{0};
        std::atomic<int> foundInside{0};
        OnThreads(2, [&](int) {
            deleted += scheduler.Delete(handle) ? 1 : 0;
            foundInside += inside ? 1 : 0;
        });
        EXPECT_EQ(deleted, 1);
        EXPECT_EQ(foundInside, 0);
    }
}

TEST(TaskScheduler, ATaskThatDeletesItselfEndsAfterItsCallback) {
    TaskScheduler scheduler;
    std::atomic<int64_t> handle{0};
    std::atomic<bool> deleted{false};
    Happening finished;
    CountingTask itself([&] {
        deleted = scheduler.Delete(handle);
        finished.Happen();
    });
    handle = scheduler.Create(1ms, itself);
    scheduler.Start();
    ASSERT_TRUE(finished.Await());
    EXPECT_TRUE(deleted);
    CountingTask other;
    scheduler.Create(1ms, other);
    ASSERT_TRUE(other.AwaitRuns(20));
    EXPECT_EQ(itself.Runs(), 1);
    EXPECT_FALSE(scheduler.Delete(handle));
    scheduler.Stop();
}

TEST(TaskScheduler, ACallbackMayCreateAnotherTask) {
    TaskScheduler scheduler;
    CountingTask child;
    Happening created;
    CountingTask parent([&] {
        if (!created.HasHappened()) {
            scheduler.Create(1ms, child);
            created.Happen();
        }
    });
    scheduler.Create(1ms, parent);
    scheduler.Start();
    EXPECT_TRUE(child.AwaitRuns(2));
    scheduler.Stop();
}

TEST(TaskScheduler, ATaskThatThrowsIsReportedAndGoesOn) {
    const CapturedOutput errors(STDERR_FILENO);
    CountingTask exception([] { throw std::runtime_error("out of ink"); });
    CountingTask number([] { throw 7; });
    TaskScheduler scheduler;
    scheduler.Start();
    scheduler.Create(1ms, exception);
    scheduler.Create(1ms, number);
    EXPECT_TRUE(exception.AwaitRuns(3));
    EXPECT_TRUE(number.AwaitRuns(3));
    scheduler.Stop();
    EXPECT_THAT(errors.Text(), HasSubstr("task 1 threw: out of ink"));
    EXPECT_THAT(errors.Text(), HasSubstr("task 2 threw"));
}

// Nor does the report end the thread, for which there is no memory either.
TEST(TaskScheduler, ATaskThatRunsOutOfMemoryGoesOn) {
    CountingTask task([] {
        FailNextAllocation();
        throw std::bad_alloc();
    });
    TaskScheduler scheduler;
    scheduler.Start();
    scheduler.Create(1ms, task);
    EXPECT_TRUE(task.AwaitRuns(3));
    scheduler.Stop();
}

// The blocked run lasts through many intervals. Were the missed runs made up for, at least that
// many would follow at once; so the run after the next is not due before another interval is
// over.
TEST(TaskScheduler, MissedRunsAreLeftOut) {
    constexpr auto kInterval = 20ms;
    std::vector<Clock::time_point> begins;
    Happening enough;
    CountingTask task([&] {
        begins.push_back(Clock::now());
        if (begins.size() == 1) {
            std::this_thread::sleep_until(begins.front() + 10 * kInterval);
        } else if (begins.size() == 3) {
            enough.Happen();
        }
    });
    TaskScheduler scheduler;
    const Clock::time_point created = Clock::now();
    scheduler.Create(kInterval, task);
    scheduler.Start();
    ASSERT_TRUE(enough.Await());
    scheduler.Stop();
    // The first run is due after one interval. Due times lie on the task's own grid: ten are
    // skipped.
    EXPECT_GE(begins[0], created + kInterval);
    EXPECT_GE(begins[1], created + 11 * kInterval);
    EXPECT_GE(begins[2], created + 12 * kInterval);
}

TEST(TaskScheduler, AfterStopNothingRunsAndNothingIsTaken) {
    CountingTask task;
    TaskScheduler scheduler;
    scheduler.Start();
    const int64_t handle = scheduler.Create(1ms, task);
    ASSERT_TRUE(task.AwaitRuns(2));
    scheduler.Stop();
    const int runs = task.Runs();
    EXPECT_LT(scheduler.Create(1ms, task), 0);
    EXPECT_TRUE(scheduler.Delete(handle));
    EXPECT_FALSE(scheduler.Delete(handle));
    EXPECT_EQ(task.Runs(), runs);
}

TEST(TaskScheduler, SurvivesManyThreadsThatCreateAndDelete) {
    TaskScheduler scheduler;
    scheduler.Start();
    std::atomic<int> failures{0};
    OnThreads(4, [&](int) {
        for (int round = 0; round < 200; ++round) {
            CountingTask task;
            const int64_t handle = scheduler.Create(1ms, task);
            failures += round % 20 != 0 || task.AwaitRuns(1) ? 0 : 1;
            failures += scheduler.Delete(handle) ? 0 : 1;
        }
    });
    EXPECT_EQ(failures, 0);
}

TEST(TaskScheduler, RunsAllTasksOnOneThread) {
    std::mutex lock;
    std::set<std::thread::id> threads;
    const auto note = [&] {
        const std::lock_guard<std::mutex> guard(lock);
        threads.insert(std::this_thread::get_id());
    };
    CountingTask first(note);
    CountingTask second(note);
    {
        TaskScheduler scheduler;
        scheduler.Start();
        scheduler.Create(1ms, first);
        scheduler.Create(1ms, second);
        EXPECT_TRUE(first.AwaitRuns(20));
        EXPECT_TRUE(second.AwaitRuns(20));
    }
    EXPECT_THAT(threads, ::testing::SizeIs(1));
}

}  // namespace
