// Which changes of the configuration file make the monitor apply it.
#include <stdexcept>

#include "control/monitorfixture.h"

using NS_TEST::NO_STATUS;
using NS_TEST::SVC_ERROR;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SwitchMonitor : public NS_TEST::MonitorTest {};

TEST_F(SwitchMonitor, DoesNotApplyTheFileThatItStartsWith) {
    store_.Set("logswitch", "0,0,0,0");
    ASSERT_EQ(monitor_.Init(), 0);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 0);
    EXPECT_EQ(Levels(), "1111");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchMonitor, AppliesAFileWithALaterTimeOnce) {
    ASSERT_EQ(monitor_.Init(), 0);
    store_.Set("logswitch", "0,1,1,1");
    SetTime(kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(Levels(), "0111");
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(
                    1, "logswitchmonitormgr", "[LogSwitchMonitorMgr::Check] LogLevel_0 close \n")));
}

TEST_F(SwitchMonitor, AppliesAFileWithAnEarlierTime) {
    ASSERT_EQ(monitor_.Init(), 0);
    SetTime(kBaseline - 100000);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
}

TEST_F(SwitchMonitor, AppliesAFileWithATimeBeforeTheEpoch) {
    ASSERT_EQ(monitor_.Init(), 0);
    SetTime(-1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
}

// Neither the content nor the size nor the file itself counts, nor a part of a second.
TEST_F(SwitchMonitor, LooksAtWholeSecondsOnly) {
    ASSERT_EQ(monitor_.Init(), 0);
    store_.Set("logswitch", "0,0,0,0");
    Replace("a longer text than before\n", kBaseline);
    AwaitFullPass();
    SetTime(kBaseline, 1);
    AwaitFullPass();
    SetTime(kBaseline, 999999999);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 0);
    SetTime(kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
}

TEST_F(SwitchMonitor, MissesAChangeOfContentWithinTheSecondItHasSeen) {
    ASSERT_EQ(monitor_.Init(), 0);
    SetTime(kBaseline + 1);
    AwaitFullPass();
    store_.Set("logswitch", "0,0,0,0");
    SetTime(kBaseline + 1, 700000000);
    AwaitFullPass();
    EXPECT_EQ(Levels(), "1111");
    EXPECT_EQ(store_.AllAsked(), 1);
    SetTime(kBaseline + 2);
    AwaitFullPass();
    EXPECT_EQ(Levels(), "0000");
}

TEST_F(SwitchMonitor, SaysNothingAboutAFileThatIsOnlyTouched) {
    ASSERT_EQ(monitor_.Init(), 0);
    SetTime(kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
    EXPECT_EQ(Levels(), "1111");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchMonitor, AppliesEachLaterChange) {
    ASSERT_EQ(monitor_.Init(), 0);
    for (int change = 1; change <= 3; ++change) {
        SetTime(kBaseline + change);
        AwaitFullPass();
        EXPECT_EQ(store_.AllAsked(), change);
    }
}

TEST_F(SwitchMonitor, ReportsAFileThatIsGoneAtEveryPass) {
    ASSERT_EQ(monitor_.Init(), 0);
    HideFile();
    EXPECT_TRUE(Proxy().WaitFor(NO_STATUS, 3));
    EXPECT_EQ(store_.AllAsked(), 0);
    EXPECT_THAT(Proxy().Printed(),
                testing::Each(NS_TEST::IsDiagnostic(1, "logswitchmonitormgr", NO_STATUS)));
}

TEST_F(SwitchMonitor, DoesNotApplyAFileThatComesBackAsItWas) {
    ASSERT_EQ(monitor_.Init(), 0);
    HideFile();
    EXPECT_TRUE(Proxy().WaitFor(NO_STATUS));
    ShowFile();
    AwaitFullPass();
    Proxy().Forget();
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 0);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchMonitor, AppliesAFileOnceThatComesBackWithAnotherTime) {
    ASSERT_EQ(monitor_.Init(), 0);
    HideFile();
    EXPECT_TRUE(Proxy().WaitFor(NO_STATUS));
    Replace("", kBaseline + 1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
}

TEST_F(SwitchMonitor, DoesNotRetryAnApplicationThatFailed) {
    ASSERT_EQ(monitor_.Init(), 0);
    store_.Set("logswitch", "0,0,0,0");
    store_.OnAllAsked([] { throw std::runtime_error("broken"); });
    SetTime(kBaseline + 1);
    AwaitFullPass();
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 1);
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(NS_TEST::IsDiagnostic(1, "logswitchmonitormgr", SVC_ERROR)));

    store_.OnAllAsked(nullptr);
    AwaitFullPass();
    EXPECT_EQ(Levels(), "1111");
    SetTime(kBaseline + 2);
    AwaitFullPass();
    EXPECT_EQ(Levels(), "0000");
}

TEST_F(SwitchMonitor, GoesOnAfterAnyKindOfFailure) {
    ASSERT_EQ(monitor_.Init(), 0);
    store_.OnAllAsked(NS_TEST::RaiseStoreOutOfReach);
    SetTime(kBaseline + 1);
    AwaitFullPass();
    store_.OnAllAsked([] { throw 42; });
    SetTime(kBaseline + 2);
    AwaitFullPass();
    EXPECT_THAT(Proxy().Texts(), ElementsAre(SVC_ERROR, SVC_ERROR));
    EXPECT_EQ(monitor_.thr_count(), 1U);
}

TEST_F(SwitchMonitor, GoesOnWhenItCannotReportThatTheFileIsGone) {
    Proxy().onPrint = [](const std::string& text) {
        if (text == NO_STATUS) {
            throw std::runtime_error("broken");
        }
    };
    ASSERT_EQ(monitor_.Init(), 0);
    HideFile();
    EXPECT_TRUE(Proxy().WaitFor(SVC_ERROR, 2));
    monitor_.Stop();
    Proxy().onPrint = nullptr;
    EXPECT_THAT(Proxy().Texts(), testing::Each(SVC_ERROR));
}

TEST_F(SwitchMonitor, AppliesInvalidSwitchesNoFurtherThanItsReport) {
    ASSERT_EQ(monitor_.Init(), 0);
    store_.Set("logswitch", "0,0,0");
    store_.Set("bEnableAsnLog", "1");
    SetTime(kBaseline + 1);
    AwaitFullPass();
    AwaitFullPass();
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("[LogSwitchMonitorMgr::Check] logswitch Info is invalid.\n"));
    EXPECT_EQ(Manager().bEnableAsnLog, 0U);
}

TEST_F(SwitchMonitor, TakesTheFileAtItsStartAsTheBaselineAndNotTheOneItWasMadeWith) {
    SetTime(kBaseline + 50);
    ASSERT_EQ(monitor_.Init(), 0);
    AwaitFullPass();
    EXPECT_EQ(store_.AllAsked(), 0);
}

}  // namespace
