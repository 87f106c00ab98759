// Switching one level of every logger.
#include <atomic>
#include <climits>
#include <stdexcept>
#include <thread>

#include "control/switchinglogger.h"

using NS_TEST::SwitchingLogger;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

class BulkSwitching : public NS_TEST::SwitchingTest {};

TEST_F(BulkSwitching, OfNoLoggersReturnsOneAndReportsNothing) {
    for (const uint32_t level : {0U, 3U, 4U, UINT_MAX}) {
        EXPECT_EQ(Manager().EnableAllLogLevel(level), 1);
        EXPECT_EQ(Manager().DisableAllLogLevel(level), 1);
    }
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(BulkSwitching, ReachesEveryLoggerAndNoOtherLevel) {
    auto* first = Manager().GetLogger("a", "b", "debug");
    auto* second = Manager().GetLogger("c", "d", "corbaoper");
    EXPECT_EQ(Levels(first->Levels()), "0101");

    EXPECT_EQ(Manager().EnableAllLogLevel(2), 1);
    EXPECT_EQ(Levels(first->Levels()), "0111");
    EXPECT_EQ(Levels(second->Levels()), "0111");

    EXPECT_EQ(Manager().DisableAllLogLevel(1), 1);
    EXPECT_EQ(Levels(first->Levels()), "0011");
    EXPECT_EQ(Levels(second->Levels()), "0011");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(BulkSwitching, LeavesTheGlobalSwitchesToTheCaller) {
    Manager().GetLogger("a", "b", "debug");
    Manager().EnableAllLogLevel(0);
    Manager().DisableAllLogLevel(1);
    EXPECT_EQ(Levels(), "0101");
}

TEST_F(BulkSwitching, OfWhatIsSwitchedAlreadyAsksEachLoggerAllTheSame) {
    SwitchingLogger& logger = Add("a", "b");
    Manager().EnableAllLogLevel(1);
    Manager().DisableAllLogLevel(0);
    EXPECT_THAT(logger.calls, ElementsAre("+1", "-0"));
}

// The level itself is not among the values, so what stands in its place means nothing.
TEST_F(BulkSwitching, OnReportsALoggerThatRefusesAndGoesOn) {
    SwitchingLogger& refusing = Add("bundle", "service", "corbasys");
    SwitchingLogger& willing = Add("c", "d");
    refusing.refuses = true;

    EXPECT_EQ(Manager().EnableAllLogLevel(2), 1);

    const auto printed = Proxy().Printed();
    ASSERT_THAT(printed, SizeIs(1));
    EXPECT_EQ(printed[0].level, 1);
    EXPECT_EQ(printed[0].file, "logimpl");
    EXPECT_GT(printed[0].line, 0);
    EXPECT_EQ(printed[0].format,
              "[LogMgr::EnableAllLogLevel] Disable %s, %s, %s, Level %d error\n");
    EXPECT_THAT(printed[0].text, MatchesRegex("\\[LogMgr::EnableAllLogLevel\\] Disable bundle, "
                                              "service, corbasys, Level -?[0-9]+ error\n"));
    EXPECT_EQ(Levels(willing.Levels()), "0111");
    EXPECT_EQ(Levels(refusing.Levels()), "0101");
}

TEST_F(BulkSwitching, OffReportsALoggerThatRefusesAndGoesOn) {
    SwitchingLogger& refusing = Add("bundle", "service", "corbasys");
    SwitchingLogger& willing = Add("c", "d");
    refusing.refuses = true;

    EXPECT_EQ(Manager().DisableAllLogLevel(3), 1);

    const auto printed = Proxy().Printed();
    ASSERT_THAT(printed, SizeIs(1));
    EXPECT_EQ(printed[0].level, 1);
    EXPECT_EQ(printed[0].file, "logimpl");
    EXPECT_GT(printed[0].line, 0);
    EXPECT_EQ(printed[0].format,
              "[LogMgr::DisableAllLogLevel] Disable %s, %s, %s, Level %d error\n");
    EXPECT_THAT(printed[0].text, MatchesRegex("\\[LogMgr::DisableAllLogLevel\\] Disable bundle, "
                                              "service, corbasys, Level -?[0-9]+ error\n"));
    EXPECT_EQ(Levels(willing.Levels()), "0100");
    EXPECT_EQ(Levels(refusing.Levels()), "0101");
}

TEST_F(BulkSwitching, ReportsEachRefusalInTheOrderOfTheLoggersCreation) {
    Add("z", "1").refuses = true;
    Add("m", "2");
    Add("a", "3").refuses = true;
    Manager().EnableAllLogLevel(0);
    EXPECT_THAT(
        Proxy().Texts(),
        ElementsAre(MatchesRegex("\\[LogMgr::EnableAllLogLevel\\] Disable z, 1, debug, Level .*"),
                    MatchesRegex("\\[LogMgr::EnableAllLogLevel\\] Disable a, 3, debug, Level .*")));
}

TEST_F(BulkSwitching, OfALevelWithoutASwitchEndsAtTheFirstLogger) {
    SwitchingLogger& first = Add("a", "b");
    SwitchingLogger& second = Add("c", "d");
    EXPECT_THROW(Manager().EnableAllLogLevel(4), std::out_of_range);
    EXPECT_THROW(Manager().DisableAllLogLevel(UINT_MAX), std::out_of_range);
    EXPECT_THAT(first.calls, ElementsAre("+4", "-4294967295"));
    EXPECT_THAT(second.calls, IsEmpty());
    EXPECT_EQ(Levels(first.Levels()), "0101");
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

TEST_F(BulkSwitching, ReleasesTheListWhenAnExceptionPasses) {
    SwitchingLogger& logger = Add("a", "b");
    EXPECT_THROW(Manager().EnableAllLogLevel(4), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    EXPECT_THROW(Manager().DisableAllLogLevel(4), std::out_of_range);
    EXPECT_TRUE(IsListFree());
    logger.onSwitched = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(Manager().EnableAllLogLevel(0), std::runtime_error);
    EXPECT_TRUE(IsListFree());
}

TEST_F(BulkSwitching, ReleasesTheListAfterARefusal) {
    Add("a", "b").refuses = true;
    Manager().EnableAllLogLevel(0);
    EXPECT_TRUE(IsListFree());
}

TEST_F(BulkSwitching, HoldsTheListUntilTheLastLoggerIsSwitched) {
    std::promise<void> release;
    std::promise<void> reached;
    Add("a", "b");
    Add("c", "d").onSwitched = [&] {
        reached.set_value();
        release.get_future().wait();
    };
    auto walk = std::async(std::launch::async, [] { return Manager().EnableAllLogLevel(2); });
    reached.get_future().wait();
    auto asked = std::async(std::launch::async,
                            [] { return Manager().GetLogger("e", "f", "debug") != nullptr; });
    EXPECT_TRUE(NS_TEST::IsStillBlocked(asked));
    release.set_value();
    EXPECT_EQ(walk.get(), 1);
    EXPECT_TRUE(asked.get());
}

TEST_F(BulkSwitching, MayRunWhileLoggersAreCreatedAndUsed) {
    std::atomic<bool> done{false};
    std::thread switcher([&] {
        while (!done) {
            Manager().EnableAllLogLevel(1);
            Manager().DisableAllLogLevel(1);
        }
    });
    for (int i = 0; i < 300; ++i) {
        auto* logger = Manager().GetLogger("bundle", std::to_string(i), "debug");
        logger->Log("file", "function", 1, 1, "text");
        logger->EnableLevel(2);
        Manager().IsLogLevelEnabled(1);
    }
    done = true;
    switcher.join();
    Manager().EnableAllLogLevel(1);
    Manager().Loggers().ForEach(
        [](const NS_LOG_SERVICE1::Logger& logger) { EXPECT_EQ(Levels(logger.Levels()), "0111"); });
    EXPECT_THAT(Proxy().Texts(), IsEmpty());
}

// Else a level could be off globally and on in the loggers, and no change of the configuration
// would find anything to do.
TEST_F(BulkSwitching, OfTwoThreadsAtOnceLeavesAllAsOneOfThemWantsIt) {
    SwitchingLogger& logger = Add("a", "b");
    logger.onSwitched = [] { std::this_thread::yield(); };
    for (int round = 0; round < 500; ++round) {
        std::atomic<int> waiting{2};
        const auto switchLevel = [&waiting](bool on) {
            --waiting;
            while (waiting > 0) {
            }
            Manager().SwitchLevel(1, on);
        };
        std::thread other(switchLevel, true);
        switchLevel(false);
        other.join();
        ASSERT_EQ(Manager().IsLogLevelEnabled(1), logger.Levels()[1]);
    }
}

}  // namespace
