// The schedule service as its users find it.
#include "schedule/scheduleservice.h"

#include <gmock/gmock.h>

#include "agentctl/tasks.h"
#include "bundlemgr/ifbuf.h"
#include "schedule/scheduleserviceobject.h"
#include "support/capturedoutput.h"

namespace {

using NS_REFERENCE_HOST::ScheduleServiceObject;
using NS_SCHEDULE_SERVICE1::PeriodicTasks;
using NS_SCHEDULE_SERVICE1::ScheduleSvcInterface;
using NS_TEST::CountingTask;
using namespace testing;

auto Registered() {
    return NS_BUNDLEMGR1::CheckIFBuf("ScheduleSvcInterface");
}

ScheduleSvcInterface* Find() {
    const auto found = Registered();
    return found.empty() ? nullptr : dynamic_cast<ScheduleSvcInterface*>(found.front());
}

TEST(ScheduleService, IsRegisteredFromInitToFini) {
    ScheduleServiceObject object;
    EXPECT_THAT(Registered(), IsEmpty());
    ASSERT_EQ(object.init(0, nullptr), 0);
    EXPECT_THAT(Registered(), SizeIs(1));
    EXPECT_EQ(Find()->GetIFName(), "ScheduleSvcInterface");
    EXPECT_TRUE(Find()->IsValid());
    EXPECT_EQ(object.StopService(), 0);
    EXPECT_THAT(Registered(), SizeIs(1));
    EXPECT_EQ(object.fini(), 0);
    EXPECT_THAT(Registered(), IsEmpty());
}

TEST(ScheduleService, RunsTasksEverySecondUntilTheyAreDeleted) {
    ScheduleServiceObject object;
    ASSERT_EQ(object.init(0, nullptr), 0);
    ScheduleSvcInterface* const service = Find();
    auto* const tasks = dynamic_cast<PeriodicTasks*>(service);
    ASSERT_NE(tasks, nullptr);
    CountingTask task;
    const int64_t handle = tasks->CreatePeriodicTask(1, task);
    EXPECT_GE(handle, 1);
    EXPECT_TRUE(task.AwaitRuns(2));
    EXPECT_EQ(service->DeleteTask(handle), 0);
    EXPECT_NE(service->DeleteTask(handle), 0);
    const int64_t left = tasks->CreatePeriodicTask(3600, task);
    object.StopService();
    EXPECT_EQ(service->DeleteTask(left), 0) << "tasks can be put away after the end";
    EXPECT_EQ(object.fini(), 0);
}

TEST(ScheduleService, RefusesAnIntervalOfZeroAndTakesTheLongest) {
    NS_REFERENCE_HOST::ScheduleService service;
    CountingTask task;
    service.Start();
    EXPECT_LT(service.CreatePeriodicTask(0, task), 0);
    EXPECT_EQ(service.CreatePeriodicTask(UINT32_MAX, task), 1);
    EXPECT_EQ(service.DeleteTask(1), 0);
    service.Stop();
    EXPECT_EQ(task.Runs(), 0);
}

TEST(ScheduleService, RefusesArgumentsThatItDoesNotKnowAndEndsWithoutHavingBeenStarted) {
    const NS_TEST::CapturedOutput errors(STDERR_FILENO);
    ScheduleServiceObject object;
    char argument[] = "--fast";
    char* arguments[] = {argument, nullptr};
    EXPECT_EQ(object.init(1, arguments), -1);
    EXPECT_THAT(errors.Text(), HasSubstr("--fast"));
    EXPECT_THAT(Registered(), IsEmpty());
    EXPECT_EQ(object.StopService(), 0);
    EXPECT_EQ(object.fini(), 0);
}

}  // namespace
