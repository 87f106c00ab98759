// Switching the output mode at run time.
#include <pthread.h>

#include <climits>
#include <stdexcept>
#include <thread>

#include "support/otherservices.h"
#include "support/servicefixture.h"

using NS_LOG_SERVICE1::LOG_SVC_INTERFACE_NAME;
using namespace NS_TEST;
using namespace testing;

namespace {

constexpr int64_t kTask = 0x123456789ABCDEF0;
constexpr unsigned int kInvalidMode = 0x41180003;
constexpr unsigned int kNoSchedule = 0x41180004;
constexpr unsigned int kRefused = 0x4118002B;

// There is no schedule service but where a test registers one.
class OutputMode : public NS_TEST::ServiceTest {
  protected:
    OutputMode() { Manager().outputTask = kTask; }

    static void SetMode(uint32_t mode) { Manager().outputmode = mode; }
    static unsigned int Switch(unsigned int mode) { return Manager().SetOutputMode(mode); }

    void ExpectUnchanged(uint32_t mode) const {
        EXPECT_EQ(Manager().outputmode, mode);
        EXPECT_EQ(Manager().outputTask, kTask);
    }

    // Gives the service its own logger, whose level 1 is on.
    void OfferLogger() {
        SetLevels("1111");
        Manager().CreateChannels();
        registered_.emplace(LOG_SVC_INTERFACE_NAME, service_);
    }

    RecordingScheduleService schedule_;
    NS_LOG_SERVICE1::LogSvcIFImpl service_;
    std::optional<RegisteredInterface> registered_;
};

TEST_F(OutputMode, NeedsNoScheduleServiceButForZeroFromAnotherMode) {
    struct Switching {
        uint32_t current;
        unsigned int wanted;
        unsigned int result;
    };
    // One is never entered; the mode that is current is never refused.
    const Switching kSwitchings[] = {{0, 0, 0},
                                     {0, 1, 0},
                                     {1, 1, 0},
                                     {5, 1, 0},
                                     {5, 5, 0},
                                     {0, 2, kInvalidMode},
                                     {1, 2, kInvalidMode},
                                     {1, UINT_MAX, kInvalidMode}};
    OfferLogger();
    for (const Switching& switching : kSwitchings) {
        SetMode(switching.current);
        EXPECT_EQ(Switch(switching.wanted), switching.result) << switching.wanted;
        ExpectUnchanged(switching.current);
    }
    SetMode(0);
    EXPECT_THAT(DebugRecords(), IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

// The mode itself stays, so a second time the deletion is asked for again, for no task.
TEST_F(OutputMode, ZeroDeletesTheTaskAndForgetsItsHandle) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    RecordingScheduleService second;
    const RegisteredInterface registeredSecond(SCHEDULE_NAME, second);
    SetMode(7);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Switch(0), 0U);
        EXPECT_EQ(Manager().outputTask, -1);
        EXPECT_EQ(Manager().outputmode, 7U);
    }
    EXPECT_THAT(schedule_.deleted, ElementsAre(kTask, -1));
    EXPECT_THAT(second.deleted, IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, ZeroKeepsTheHandleOfATaskThatWasStartedMeanwhile) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    schedule_.onDelete = [] { Manager().outputTask = 42; };
    SetMode(1);
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_EQ(Manager().outputTask, 42);
}

// With the handle of a task that is gone, output could be switched neither on nor off any more.
TEST_F(OutputMode, ZeroForgetsTheHandleThoughItsThreadIsCancelled) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    schedule_.onDelete = [] { ::pthread_testcancel(); };
    SetMode(1);
    std::thread([] {
        ::pthread_cancel(::pthread_self());
        Switch(0);
    }).join();
    EXPECT_THAT(schedule_.deleted, ElementsAre(kTask));
    EXPECT_EQ(Manager().outputTask, -1);
}

TEST_F(OutputMode, ZeroLeavesQueuedRecordsQueued) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetLevels("1111");
    Manager().CreateChannels();
    SetMode(1);
    Manager().GetLogger("a", "b", "debug")->Log("file", "function", 1, 1, "text");
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_EQ(Manager().Channels().Find("debug")->Statistics().queued.Get(), 1U);
    EXPECT_THAT(ListFiles(Path("log")), IsEmpty());
}

TEST_F(OutputMode, ZeroThatTheScheduleServiceRefusesKeepsTheHandleAndMayBeTriedAgain) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetMode(1);
    for (const int answer : {1, -1, INT_MIN}) {
        Proxy().Forget();
        schedule_.answer = answer;
        EXPECT_EQ(Switch(0), kRefused);
        ExpectUnchanged(1);
        EXPECT_THAT(Proxy().Printed(),
                    ElementsAre(IsDiagnostic(2, "logimpl",
                                             "[LogMgr::SetOutputMode]Delete local task failed, so "
                                             "SetOutputMode failed !!")));
    }
    schedule_.answer = 0;
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(schedule_.deleted, ElementsAre(kTask, kTask, kTask, kTask));
    EXPECT_EQ(Manager().outputTask, -1);
}

TEST_F(OutputMode, ZeroWithoutAScheduleServiceReportsTheException) {
    OfferLogger();
    SetMode(1);
    EXPECT_EQ(Switch(0), kNoSchedule);
    ExpectUnchanged(1);
    SetMode(0);
    const auto records = DebugRecords();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].level, 1);
    EXPECT_EQ(records[0].line, std::to_string(kNoSchedule));
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, ZeroWithNeitherAScheduleServiceNorALoggerIsTheSameFailure) {
    OtherInterface other;
    SetMode(1);
    EXPECT_EQ(Switch(0), kNoSchedule);
    const RegisteredInterface registered(SCHEDULE_NAME, other);
    EXPECT_EQ(Switch(0), kNoSchedule) << "an object of another class counts as none";
    ExpectUnchanged(1);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, ZeroReportsTheExceptionThatTheDeletionRaises) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    OfferLogger();
    schedule_.onDelete = RaiseStoreOutOfReach;
    SetMode(1);
    EXPECT_EQ(Switch(0), kNoSchedule);
    ExpectUnchanged(1);
    SetMode(0);
    EXPECT_THAT(DebugRecords(), ElementsAre(IsStoreOutOfReach()));
}

TEST_F(OutputMode, ZeroPassesOtherExceptionsOnAndKeepsTheHandle) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetMode(1);
    schedule_.onDelete = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(Switch(0), std::runtime_error);
    schedule_.onDelete = [] { throw NS_BUNDLEMGR1::ProcessException(1, "a", "b", "c"); };
    EXPECT_THROW(Switch(0), NS_BUNDLEMGR1::ProcessException);
    ExpectUnchanged(1);
}

}  // namespace
