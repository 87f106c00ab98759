// Switching queued output on and off for real.

#include <gmock/gmock.h>
#include <pthread.h>

#include <optional>
#include <thread>

#include "maintenance/maintenancefixture.h"

namespace NS_TEST {
namespace {

using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;
using namespace testing;

constexpr unsigned int kDone = 0;
constexpr unsigned int kDeleteTaskFailed = 0x4118002B;

// There is a schedule service, whose first task gets handle 41, but where a
// test takes it away.
class QueuedOutput : public MaintenanceTest {
  protected:
    QueuedOutput() { registered_.emplace(SCHEDULE_NAME, schedule_); }
    // It looks for the service when it ends.
    ~QueuedOutput() override { Stop(); }

    // Ends the schedule service and registers another one, which knows no task and gives its first
    // one handle 7.
    void ReloadScheduleService() {
        registered_.reset();
        reloaded_.answer = 1;
        reloaded_.nextHandle = 7;
        registered_.emplace(SCHEDULE_NAME, reloaded_);
    }

    ManualScheduleService schedule_;
    ManualScheduleService reloaded_;
    std::optional<RegisteredInterface> registered_;
};

TEST_F(QueuedOutput, QueuesWithoutATaskWhereNobodyTakesOne) {
    Start();
    RecordingScheduleService deleting;
    for (ScheduleSvcInterface* service : {static_cast<ScheduleSvcInterface*>(nullptr),
                                          static_cast<ScheduleSvcInterface*>(&deleting),
                                          static_cast<ScheduleSvcInterface*>(&schedule_)}) {
        schedule_.nextHandle = -7;
        registered_.reset();
        if (service != nullptr) {
            registered_.emplace(SCHEDULE_NAME, *service);
        }
        EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
        EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
        EXPECT_FALSE(Maintenance().HasPeriodicOutput());
        EXPECT_EQ(Manager().outputTask, -1);
        Log(1, "queued");
        EXPECT_THAT(Written("corbaoper"), IsEmpty());
    }
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued", "queued", "queued"));
    EXPECT_THAT(deleting.deleted, IsEmpty());
    EXPECT_THAT(schedule_.deleted, IsEmpty());
}

TEST_F(QueuedOutput, WritesTheQueuesPeriodicallyButOnceASecondAtMost) {
    for (const unsigned int interval : {5U, 1U, 0U}) {
        store_.Set("logtimeinterval", std::to_string(interval));
        Start();
        EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
        EXPECT_TRUE(Maintenance().HasPeriodicOutput());
        EXPECT_EQ(schedule_.interval, interval == 0 ? 1U : interval);
        Stop();
    }
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    EXPECT_THAT(Written("corbaoper"), IsEmpty());
    schedule_.task->Run();
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
    Stop();
    schedule_.task->Run();  // by a schedule service that has not deleted it
    EXPECT_EQ(NS_LOG_SERVICE1::LogMgr::InstanceIfAny(), nullptr);
}

// The output mode takes nothing but the task away, and that can be started
// again.
TEST_F(QueuedOutput, LeavesATaskForTheOutputModeToDelete) {
    Start();
    Maintenance().SetQueuedOutput(true);
    EXPECT_EQ(Manager().SetOutputMode(0), kDone);
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
    schedule_.nextHandle = 42;
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_EQ(Manager().outputTask, 42);
    EXPECT_TRUE(Maintenance().HasPeriodicOutput());

    EXPECT_EQ(Manager().SetOutputMode(0), kDone);
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_THAT(schedule_.deleted, ElementsAre(41, 42)) << "there is nothing left to delete";
}

TEST_F(QueuedOutput, WritesWhatIsQueuedWhenSwitchedOff) {
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_EQ(Maintenance().GetOutputMode(), 0U);
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
    Log(1, "direct");
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued", "direct"));
}

TEST_F(QueuedOutput, ChangesNothingWhenItIsAsWanted) {
    Start();
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_THAT(schedule_.deleted, IsEmpty());
    Maintenance().SetQueuedOutput(true);
    schedule_.nextHandle = 42;
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_EQ(Manager().outputTask, 41);
}

TEST_F(QueuedOutput, StaysOnWhenTheTaskCannotBeDeleted) {
    Start();
    Maintenance().SetQueuedOutput(true);
    schedule_.answer = 1;
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDeleteTaskFailed);
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
    EXPECT_TRUE(Maintenance().HasPeriodicOutput());
}

TEST_F(QueuedOutput, IsSwitchedOffWhenTheScheduleServiceIsGone) {
    Start();
    Maintenance().SetQueuedOutput(true);
    registered_.reset();
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_EQ(Maintenance().GetOutputMode(), 0U);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
}

// A task goes with its schedule service, and the next one may give its handle to somebody else's.
TEST_F(QueuedOutput, IsSwitchedOffWhenTheScheduleServiceIsAnotherOne) {
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    ReloadScheduleService();
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_EQ(Maintenance().GetOutputMode(), 0U);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    EXPECT_THAT(reloaded_.deleted, IsEmpty());
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
}

TEST_F(QueuedOutput, IsMadePeriodicAgainByAnotherScheduleService) {
    Start();
    Maintenance().SetQueuedOutput(true);
    ReloadScheduleService();
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    ASSERT_EQ(Manager().outputTask, 7);
    Log(1, "queued");
    reloaded_.task->Run();
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
    reloaded_.answer = 0;
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_THAT(reloaded_.deleted, ElementsAre(7));
}

TEST_F(QueuedOutput, HasNoTaskWhenItIsSwitchedOnAfterTheScheduleServiceWent) {
    Start();
    Maintenance().SetQueuedOutput(true);
    registered_.reset();
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
}

TEST_F(QueuedOutput, TakesItsTaskAwayWhenTheServiceEnds) {
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    Stop();
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
}

// The deletion of the task is a cancellation point here.
TEST_F(QueuedOutput, EndsWithTheServiceByAThreadThatIsCancelled) {
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    schedule_.onDelete = [] { ::pthread_testcancel(); };
    std::thread([this] {
        ::pthread_cancel(::pthread_self());
        Stop();
    }).join();
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    EXPECT_EQ(NS_LOG_SERVICE1::LogMgr::InstanceIfAny(), nullptr);
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
}

TEST_F(QueuedOutput, IsSwitchedWholeByAThreadThatIsCancelled) {
    schedule_.onDelete = [] { ::pthread_testcancel(); };
    Start();
    Maintenance().SetQueuedOutput(true);
    std::thread([] {
        ::pthread_cancel(::pthread_self());
        Maintenance().SetQueuedOutput(false);
    }).join();
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    EXPECT_EQ(Maintenance().GetOutputMode(), 0U);
}

// A schedule service that throws must not keep the service from ending.
TEST_F(QueuedOutput, EndsWithTheServiceThoughItsTaskCannotBeTakenAway) {
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    schedule_.onDelete = [] { throw 42; };
    Stop();
    EXPECT_EQ(NS_LOG_SERVICE1::LogMgr::InstanceIfAny(), nullptr);
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
}

}  // namespace
}  // namespace NS_TEST
