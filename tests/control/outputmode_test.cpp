// Switching the output mode at run time.
#include <climits>
#include <stdexcept>

#include "control/controlfixture.h"
#include "control/scheduleservice.h"
#include "logimpl.h"

using NS_LOG_SERVICE1::LOG_SVC_INTERFACE_NAME;
using NS_TEST::RegisteredInterface;
using NS_TEST::SCHEDULE_NAME;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr int64_t kTask = 0x123456789ABCDEF0;

class OutputMode : public NS_TEST::ControlTest {
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

    NS_TEST::RecordingScheduleService schedule_;
    NS_LOG_SERVICE1::LogSvcIFImpl service_;
    std::optional<RegisteredInterface> registered_;
};

TEST_F(OutputMode, ZeroWhenItIsZeroAlreadyCallsNothing) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(schedule_.deleted, IsEmpty());
    ExpectUnchanged(0);
}

TEST_F(OutputMode, ZeroWhenItIsZeroAlreadyNeedsNoScheduleService) {
    OfferLogger();
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(DebugRecords(), IsEmpty());
}

TEST_F(OutputMode, OneChangesNothingAndDoesNotBecomeTheCurrentMode) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    for (const uint32_t current : {0U, 1U, 5U}) {
        SetMode(current);
        EXPECT_EQ(Switch(1), 0U);
        ExpectUnchanged(current);
    }
    EXPECT_THAT(schedule_.deleted, IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, OtherThanZeroAndOneIsRefused) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    for (const uint32_t current : {0U, 1U}) {
        SetMode(current);
        EXPECT_EQ(Switch(2), 0x41180003U);
        EXPECT_EQ(Switch(UINT_MAX), 0x41180003U);
        ExpectUnchanged(current);
    }
    EXPECT_THAT(schedule_.deleted, IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, ThatIsCurrentIsNeverRefused) {
    SetMode(5);
    EXPECT_EQ(Switch(5), 0U);
    ExpectUnchanged(5);
}

TEST_F(OutputMode, ZeroDeletesTheTaskAndForgetsItsHandle) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetMode(1);
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(schedule_.deleted, ElementsAre(kTask));
    EXPECT_EQ(Manager().outputTask, -1);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, ZeroDoesNotBecomeTheCurrentMode) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetMode(1);
    Switch(0);
    EXPECT_EQ(Manager().outputmode, 1U);
}

// The current mode is still another one, so the deletion is asked for again, for no task.
TEST_F(OutputMode, ZeroASecondTimeDeletesTheForgottenHandle) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetMode(7);
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(schedule_.deleted, ElementsAre(kTask, -1));
}

TEST_F(OutputMode, ZeroLeavesQueuedRecordsQueued) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetLevels("1111");
    Manager().CreateChannels();
    SetMode(1);
    Manager().GetLogger("a", "b", "debug")->Log("file", "function", 1, 1, "text");

    EXPECT_EQ(Switch(0), 0U);

    EXPECT_EQ(Manager().Channels().Find("debug")->Statistics().queued.Get(), 1U);
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
}

TEST_F(OutputMode, ZeroThatTheScheduleServiceRefusesKeepsTheHandle) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    for (const int answer : {1, -1, INT_MIN}) {
        Proxy().Forget();
        schedule_.answer = answer;
        SetMode(1);
        EXPECT_EQ(Switch(0), 0x4118002BU);
        ExpectUnchanged(1);
        EXPECT_THAT(Proxy().Printed(),
                    ElementsAre(NS_TEST::IsDiagnostic(
                        2, "logimpl",
                        "[LogMgr::SetOutputMode]Delete local task failed, so SetOutputMode "
                        "failed !!")));
    }
}

TEST_F(OutputMode, ZeroMayBeTriedAgainAfterARefusal) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    SetMode(1);
    schedule_.answer = 1;
    Switch(0);
    schedule_.answer = 0;
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(schedule_.deleted, ElementsAre(kTask, kTask));
    EXPECT_EQ(Manager().outputTask, -1);
}

TEST_F(OutputMode, ZeroWithoutAScheduleServiceReportsTheException) {
    OfferLogger();
    SetMode(1);
    EXPECT_EQ(Switch(0), 0x41180004U);
    ExpectUnchanged(1);

    SetMode(0);
    const auto records = DebugRecords();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].level, 1);
    EXPECT_EQ(records[0].line, "1092091908");  // 0x41180004
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, ZeroWithNeitherAScheduleServiceNorALoggerIsTheSameFailure) {
    SetMode(1);
    EXPECT_EQ(Switch(0), 0x41180004U);
    ExpectUnchanged(1);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(OutputMode, ZeroReportsTheExceptionThatTheDeletionRaises) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    OfferLogger();
    schedule_.onDelete = NS_TEST::RaiseStoreOutOfReach;
    SetMode(1);
    EXPECT_EQ(Switch(0), 0x41180004U);
    ExpectUnchanged(1);

    SetMode(0);
    const auto records = DebugRecords();
    ASSERT_THAT(records, SizeIs(1));
    EXPECT_EQ(records[0].level, 1);
    EXPECT_EQ(records[0].file, "store.cpp");
    EXPECT_EQ(records[0].function, "Store::Read");
    EXPECT_EQ(records[0].line, "4711");
    EXPECT_EQ(records[0].detail, "the store is out of reach");
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

TEST_F(OutputMode, ZeroUsesTheFirstScheduleServiceThatIsRegistered) {
    NS_TEST::RecordingScheduleService second;
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    const RegisteredInterface registeredSecond(SCHEDULE_NAME, second);
    SetMode(1);
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(schedule_.deleted, SizeIs(1));
    EXPECT_THAT(second.deleted, IsEmpty());
}

TEST_F(OutputMode, ZeroFindsAScheduleServiceAmongTheServiceObjects) {
    const NS_TEST::OfferingServiceObject object(&schedule_);
    SetMode(1);
    EXPECT_EQ(Switch(0), 0U);
    EXPECT_THAT(schedule_.deleted, ElementsAre(kTask));
    NS_REFERENCE_HOST::RemoveFromIFBuf(&schedule_);
}

TEST_F(OutputMode, ZeroTakesAnObjectOfAnotherClassForNoScheduleService) {
    NS_TEST::OtherInterface other;
    const RegisteredInterface registered(SCHEDULE_NAME, other);
    SetMode(1);
    EXPECT_EQ(Switch(0), 0x41180004U);
    ExpectUnchanged(1);
}

TEST_F(OutputMode, IsSwitchedThroughTheServiceInterface) {
    const RegisteredInterface registered(SCHEDULE_NAME, schedule_);
    EXPECT_EQ(service_.SetOutputMode(2), 0x41180003U);
    EXPECT_EQ(service_.SetOutputMode(1), 0U);
    SetMode(1);
    schedule_.answer = 1;
    EXPECT_EQ(service_.SetOutputMode(0), 0x4118002BU);
    schedule_.answer = 0;
    EXPECT_EQ(service_.SetOutputMode(0), 0U);
    EXPECT_EQ(Manager().outputTask, -1);
}

}  // namespace
