// Switching queued output on and off for real.

#include <gmock/gmock.h>

#include "maintenance/maintenancefixture.h"

namespace NS_TEST {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned int kDone = 0;
constexpr unsigned int kDeleteTaskFailed = 0x4118002B;

class QueuedOutput : public MaintenanceTest {
  protected:
    ManualScheduleService schedule_;
};

TEST_F(QueuedOutput, QueuesWithoutAScheduleService) {
    Start();
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    Log(1, "queued");
    EXPECT_THAT(Written("corbaoper"), IsEmpty());
}

TEST_F(QueuedOutput, QueuesWithAScheduleServiceThatOnlyDeletes) {
    RecordingScheduleService deleting;
    const RegisteredInterface registered(SCHEDULE_NAME, deleting);
    Start();
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_THAT(deleting.deleted, IsEmpty());
    Stop();
}

TEST_F(QueuedOutput, WritesTheQueuesPeriodically) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    store_.Set("logtimeinterval", "5");
    Start();
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_TRUE(Maintenance().HasPeriodicOutput());
    EXPECT_EQ(schedule_.interval, 5U);
    Log(1, "queued");
    EXPECT_THAT(Written("corbaoper"), IsEmpty());
    schedule_.task->Run();
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
    Stop();
}

TEST_F(QueuedOutput, WritesOnceASecondAtMost) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    store_.Set("logtimeinterval", "0");
    Start();
    Maintenance().SetQueuedOutput(true);
    EXPECT_EQ(schedule_.interval, 1U);
    Stop();
}

TEST_F(QueuedOutput, LeavesATaskForTheOutputModeToDelete) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    Start();
    Maintenance().SetQueuedOutput(true);
    EXPECT_EQ(Manager().SetOutputMode(0), kDone);
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    // The mode itself is not touched by that; switching off has nothing left to delete.
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    Stop();
}

TEST_F(QueuedOutput, WritesWhatIsQueuedWhenSwitchedOff) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_EQ(Maintenance().GetOutputMode(), 0U);
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
    Log(1, "direct");
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued", "direct"));
    Stop();
}

TEST_F(QueuedOutput, ChangesNothingWhenItIsAsWanted) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    Start();
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_THAT(schedule_.deleted, IsEmpty());
    Maintenance().SetQueuedOutput(true);
    schedule_.nextHandle = 42;
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_EQ(Manager().outputTask, 41);
    Stop();
}

TEST_F(QueuedOutput, StaysOnWhenTheTaskCannotBeDeleted) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    Start();
    Maintenance().SetQueuedOutput(true);
    schedule_.answer = 1;
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDeleteTaskFailed);
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
    EXPECT_TRUE(Maintenance().HasPeriodicOutput());
    schedule_.answer = 0;
    Stop();
}

TEST_F(QueuedOutput, IsSwitchedOffWhenTheScheduleServiceIsGone) {
    Start();
    {
        const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
        Maintenance().SetQueuedOutput(true);
    }
    EXPECT_EQ(Maintenance().SetQueuedOutput(false), kDone);
    EXPECT_EQ(Maintenance().GetOutputMode(), 0U);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
}

TEST_F(QueuedOutput, QueuesWhenTheScheduleServiceTakesNoTask) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    schedule_.nextHandle = -7;
    Start();
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_EQ(Maintenance().GetOutputMode(), 1U);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    EXPECT_EQ(Manager().outputTask, -1);
    Stop();
}

TEST_F(QueuedOutput, TakesItsTaskAwayWhenTheServiceEnds) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    Start();
    Maintenance().SetQueuedOutput(true);
    Log(1, "queued");
    Stop();
    EXPECT_THAT(schedule_.deleted, ElementsAre(41));
    EXPECT_THAT(Written("corbaoper"), ElementsAre("queued"));
}

TEST_F(QueuedOutput, StartsItsTaskAgainAfterTheOutputModeHasDeletedIt) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    Start();
    Maintenance().SetQueuedOutput(true);
    Manager().SetOutputMode(0);
    schedule_.nextHandle = 42;
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_EQ(Manager().outputTask, 42);
    EXPECT_TRUE(Maintenance().HasPeriodicOutput());
    Stop();
    EXPECT_THAT(schedule_.deleted, ElementsAre(41, 42));
}

TEST_F(QueuedOutput, StartsItsTaskWhenTheScheduleServiceComesLater) {
    Start();
    Maintenance().SetQueuedOutput(true);
    EXPECT_FALSE(Maintenance().HasPeriodicOutput());
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    EXPECT_EQ(Maintenance().SetQueuedOutput(true), kDone);
    EXPECT_EQ(Manager().outputTask, 41);
    Stop();
}

}  // namespace
}  // namespace NS_TEST
