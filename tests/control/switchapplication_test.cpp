// Which switches are applied, in which order, and what is said about it.
#include <atomic>
#include <stdexcept>
#include <thread>

#include "control/switchapplicationfixture.h"

using NS_TEST::MonitorSays;
using NS_TEST::SwitchingLogger;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {

class SwitchApplication : public NS_TEST::SwitchApplicationTest {};

TEST_F(SwitchApplication, OfWhatHoldsAlreadyDoesNothing) {
    SwitchingLogger& logger = Add("a", "b");
    Check();
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_THAT(logger.calls, IsEmpty());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchApplication, SwitchesOneLevelOffEverywhereAndSaysSo) {
    SwitchingLogger& logger = Add("a", "b");
    Configure("0,1,1,1", "0", "0");
    Check();
    EXPECT_EQ(State(), "0111/0/0");
    EXPECT_THAT(logger.calls, ElementsAre("-0"));
    EXPECT_EQ(Levels(logger.Levels()), "0111");
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(MonitorSays("[LogSwitchMonitorMgr::Check] LogLevel_0 close \n")));
    EXPECT_EQ(Proxy().Printed().at(0).format, "[LogSwitchMonitorMgr::Check] %s\n");
}

TEST_F(SwitchApplication, SwitchesOneLevelOnEverywhereAndSaysSo) {
    SetLevels("1110");
    SwitchingLogger& logger = Add("a", "b");
    Check();
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_THAT(logger.calls, ElementsAre("+3"));
    EXPECT_EQ(Levels(logger.Levels()), "1111");
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(MonitorSays("[LogSwitchMonitorMgr::Check] LogLevel_3 open \n")));
}

TEST_F(SwitchApplication, RunsThePiecesOfTheReportTogether) {
    SetLevels("0111");
    Configure("1,1,0,1", "0", "0");
    Check();
    EXPECT_EQ(Levels(), "1101");
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(MonitorSays(
                    "[LogSwitchMonitorMgr::Check] LogLevel_0 open LogLevel_2 close \n")));
}

TEST_F(SwitchApplication, LeavesNoBlankBehindAnUndefinedValue) {
    SetLevels("1100");
    Configure("2,0,-1,1", "0", "0");
    Check();
    EXPECT_EQ(Levels(), "1001");
    EXPECT_THAT(Proxy().Printed(),
                ElementsAre(MonitorSays(
                    "[LogSwitchMonitorMgr::Check] LogLevel_0 undefined value.LogLevel_1 close "
                    "LogLevel_2 undefined value.LogLevel_3 open \n")));
}

TEST_F(SwitchApplication, ReportsAnUndefinedValueEachTime) {
    Configure("2,1,1,1", "0", "0");
    SwitchingLogger& logger = Add("a", "b");
    Check();
    Check();
    const auto report = MonitorSays("[LogSwitchMonitorMgr::Check] LogLevel_0 undefined value.\n");
    EXPECT_THAT(Proxy().Printed(), ElementsAre(report, report));
    EXPECT_THAT(logger.calls, IsEmpty());
    EXPECT_EQ(State(), "1111/0/0");
}

TEST_F(SwitchApplication, GoesThroughTheLevelsInAscendingOrder) {
    SetLevels("0101");
    SwitchingLogger& logger = Add("a", "b");
    Configure("1,0,1,0", "0", "0");
    Check();
    EXPECT_THAT(logger.calls, ElementsAre("+0", "-1", "+2", "-3"));
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre("[LogSwitchMonitorMgr::Check] LogLevel_0 open "
                            "LogLevel_1 close LogLevel_2 open LogLevel_3 close \n"));
}

TEST_F(SwitchApplication, ReportsOnceForEachChange) {
    Configure("0,1,1,1", "1", "1");
    Check();
    Proxy().Forget();
    Check();
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchApplication, ReportsLevelsThenTheAsnFlagThenTheOutputFlag) {
    Configure("1,1,1,0", "1", "1");
    Check();
    EXPECT_EQ(State(), "1110/1/1");
    EXPECT_THAT(
        Proxy().Printed(),
        ElementsAre(
            MonitorSays("[LogSwitchMonitorMgr::Check] LogLevel_3 close \n"),
            MonitorSays("[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = 1 \n"),
            MonitorSays("[LogSwitchMonitorMgr::Check] end change bEnableOutputPara = 1 \n")));
}

TEST_F(SwitchApplication, SwitchesTheFlagsOffAsWell) {
    Manager().bEnableAsnLog = 1;
    Manager().bLogOutputPara = 1;
    Check();
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_THAT(
        Proxy().Printed(),
        ElementsAre(
            MonitorSays("[LogSwitchMonitorMgr::Check] end change bEnableAsnLog = 0 \n"),
            MonitorSays("[LogSwitchMonitorMgr::Check] end change bEnableOutputPara = 0 \n")));
}

// The global switch of a level decides whether anything is to be done, not those of the loggers.
TEST_F(SwitchApplication, LeavesALoggerAloneThatDiffersFromAGlobalSwitchThatHolds) {
    SwitchingLogger& logger = Add("a", "b");
    logger.Logger::DisableLevel(1);
    Check();
    EXPECT_EQ(Levels(logger.Levels()), "1011");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchApplication, ReachesLoggersOfEveryCategoryAndThoseThatComeLater) {
    auto* debug = Manager().GetLogger("a", "b", "debug");
    auto* system = Manager().GetLogger("a", "b", "corbasys");
    Configure("1,0,0,1", "0", "0");
    Check();
    auto* later = Manager().GetLogger("c", "d", "corbaoper");
    EXPECT_EQ(Levels(debug->Levels()), "1001");
    EXPECT_EQ(Levels(system->Levels()), "1001");
    EXPECT_EQ(Levels(later->Levels()), "1001");
}

TEST_F(SwitchApplication, DecidesWhatClientsWriteFromThenOn) {
    auto* logger = Manager().GetLogger("a", "b", "debug");
    Configure("1,0,1,1", "0", "0");
    Check();
    logger->Log("file", "function", 1, 1, "kept back");
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
    Configure("1,1,1,1", "0", "0");
    Check();
    logger->Log("file", "function", 2, 1, "written");
    const auto pieces = NS_TEST::ParseLogDirectory(Path("log"));
    const auto records = NS_TEST::OfKind(pieces, NS_TEST::ParsedPiece::RECORD);
    ASSERT_THAT(records, testing::SizeIs(1));
    EXPECT_EQ(records[0].record.detail, "written");
}

TEST_F(SwitchApplication, SwitchesTheGlobalLevelBeforeTheLoggers) {
    std::vector<std::string> seen;
    Add("a", "b").onSwitched = [&seen] { seen.push_back(Levels()); };
    Configure("1,0,1,0", "0", "0");
    Check();
    EXPECT_THAT(seen, ElementsAre("1011", "1010"));
}

TEST_F(SwitchApplication, KeepsTheGlobalLevelWhenALoggerRefuses) {
    SwitchingLogger& refusing = Add("a", "b");
    SwitchingLogger& willing = Add("c", "d");
    refusing.refuses = true;
    Configure("0,1,1,1", "0", "0");
    Check();
    EXPECT_EQ(Levels(), "0111");
    EXPECT_EQ(Levels(willing.Levels()), "0111");
    EXPECT_EQ(Levels(refusing.Levels()), "1111");
    EXPECT_THAT(Proxy().Texts(),
                ElementsAre(MatchesRegex("\\[LogMgr::DisableAllLogLevel\\] Disable a, b, debug, "
                                         "Level -?[0-9]+ error\n"),
                            "[LogSwitchMonitorMgr::Check] LogLevel_0 close \n"));
}

TEST_F(SwitchApplication, EndsWithTheExceptionOfALogger) {
    Add("a", "b").onSwitched = [] { throw std::runtime_error("broken"); };
    Configure("0,0,1,1", "1", "1");
    EXPECT_THROW(Check(), std::runtime_error);
    EXPECT_EQ(State(), "0111/0/0");
    EXPECT_TRUE(IsListFree());
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchApplication, PassesOnWhatTheStoreThrowsAndAppliesNothing) {
    Configure("0,0,0,0", "1", "1");
    store_.OnAllAsked(NS_TEST::RaiseStoreOutOfReach);
    EXPECT_THROW(Check(), NS_BUNDLEMGR1::InterfaceNotExistException);
    store_.OnAllAsked([] { throw 42; });
    EXPECT_THROW(Check(), int);
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchApplication, ReadsTheConfigurationOnceAndAsAWhole) {
    Check();
    EXPECT_EQ(store_.AllAsked(), 1);
    EXPECT_THAT(store_.Asked(), IsEmpty());
}

TEST_F(SwitchApplication, LeavesTheOtherItemsOfTheConfigurationAlone) {
    store_.Set("logfilesize", "1");
    store_.Set("queuebuflength", "1");
    store_.Set("outputmode", "1");
    Check();
    EXPECT_EQ(Manager().logfilesize, 20971520U);
    EXPECT_EQ(Manager().queuebuflength, 16384U);
    EXPECT_EQ(Manager().outputmode, 0U);
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(SwitchApplication, MayRunWhileClientsLog) {
    std::atomic<bool> done{false};
    std::thread client([&] {
        while (!done) {
            auto* logger = Manager().GetLogger("a", "b", "debug");
            logger->Log("file", "function", 1, 2, "text");
            Manager().GetEnableAsnLog();
            Manager().GetEnableOutputPara();
            Manager().IsLogLevelEnabled(2);
        }
    });
    for (int i = 0; i < 100; ++i) {
        Configure(i % 2 == 0 ? "1,1,0,1" : "1,1,1,1", i % 2 == 0 ? "1" : "0",
                  i % 2 == 0 ? "1" : "0");
        Check();
    }
    done = true;
    client.join();
    EXPECT_EQ(State(), "1111/0/0");
    EXPECT_EQ(Proxy().Texts().size(), 300U);
}

}  // namespace
