// Switching levels of all loggers, or of one, through the manager.
#include <cstdint>
#include <functional>
#include <future>
#include <limits>
#include <stdexcept>

#include "manager/managerfixture.h"
#include "support/forkedchild.h"
#include "support/onthreads.h"
#include "support/switchinglogger.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using namespace testing;

namespace {

constexpr uint32_t kLargest = std::numeric_limits<uint32_t>::max();

class BulkSwitching : public NS_TEST::ManagerTest {
  protected:
    // Adds a logger behind those that are there.
    static SwitchingLogger& Add(const std::string& first, const std::string& second = "b",
                                const std::string& category = "debug", bool refuses = false) {
        SwitchingLogger& logger = AddSwitchingLogger(first, second, category);
        logger.refuses = refuses;
        return logger;
    }
    static int SwitchAll(bool on, uint32_t level) {
        return on ? Manager().EnableAllLogLevel(level) : Manager().DisableAllLogLevel(level);
    }
    // Whether another thread can take the mutex of the logger list.
    static bool IsListFree() {
        return FinishesOnAnotherThread([] { Manager().GetLogger("passes", "by", "debug"); });
    }
    static unsigned long Levels(const std::string& first) {
        return Manager().GetLogger(first, "b", "debug")->Levels().to_ulong();
    }
};

TEST_F(BulkSwitching, ReachesEveryLoggerAndNoOtherLevelNorTheGlobalSwitches) {
    EXPECT_EQ(SwitchAll(true, 4), 1) << "without any logger";
    EXPECT_EQ(SwitchAll(false, kLargest), 1) << "without any logger";
    Manager().levelSwitches = LevelSwitches(0b0110);
    Levels("one");
    SwitchingLogger& two = Add("two");
    const auto switchAll = [](bool on, uint32_t level, unsigned long expected) {
        EXPECT_EQ(SwitchAll(on, level), 1);
        EXPECT_EQ(Levels("one"), expected);
        EXPECT_EQ(Levels("two"), expected);
    };
    switchAll(true, 0, 0b0111);
    switchAll(true, 0, 0b0111);
    switchAll(false, 1, 0b0101);
    switchAll(false, 1, 0b0101);
    switchAll(true, 3, 0b1101);
    EXPECT_THAT(two.calls, ElementsAre("+0", "+0", "-1", "-1", "+3"));
    EXPECT_EQ(Manager().levelSwitches.Get().to_ulong(), 0b0110u);
    EXPECT_EQ(Levels("later"), 0b0110u);
    EXPECT_THAT(Diagnostics().Printed(), IsEmpty());
}

// Both reports say "Disable"; and the level is not among the values, so what stands in its place
// means nothing.
TEST_F(BulkSwitching, ReportsEachRefusalInOrderAndGoesOn) {
    Manager().levelSwitches = LevelSwitches(0b0011);
    SwitchingLogger& refusing = Add("bundle", "service", "corbaoper", true);
    Levels("willing");
    Add("%s%n", "50%", "corba_alarm", true);
    for (const bool on : {true, false}) {
        const std::string operation = on ? "EnableAllLogLevel" : "DisableAllLogLevel";
        Diagnostics().Forget();
        EXPECT_EQ(SwitchAll(on, on ? 3 : 1), 1);
        EXPECT_EQ(Levels("willing"), on ? 0b1011u : 0b1001u);
        const std::string front = "\\[LogMgr::" + operation + "\\] Disable ";
        EXPECT_THAT(
            Diagnostics().Texts(),
            ElementsAre(MatchesRegex(front + "bundle, service, corbaoper, Level -?[0-9]+ error\n"),
                        MatchesRegex(front + "%s%n, 50%, corba_alarm, Level -?[0-9]+ error\n")));
        for (const PrintedDiagnostic& report : Diagnostics().Printed()) {
            EXPECT_EQ(report.format,
                      "[LogMgr::" + operation + "] Disable %s, %s, %s, Level %d error\n");
            EXPECT_EQ(report.level, 1);
            EXPECT_EQ(report.file, "logimpl");
            EXPECT_GT(report.line, 0);
        }
        EXPECT_TRUE(IsListFree());
    }
    EXPECT_EQ(refusing.Levels().to_ulong(), 0b0011u);
    EXPECT_THAT(refusing.calls, ElementsAre("+3", "-1"));
}

// A refusal in front of that logger is reported all the same.
TEST_F(BulkSwitching, EndsAtTheFirstLoggerThatThrows) {
    Add("refusing", "b", "debug", true);
    SwitchingLogger& throwing = Add("throwing");
    SwitchingLogger& behind = Add("behind");
    for (const bool on : {true, false}) {
        for (const uint32_t level : {4u, 5u, kLargest}) {
            EXPECT_THROW(SwitchAll(on, level), std::out_of_range);
            EXPECT_TRUE(IsListFree());
            EXPECT_EQ(throwing.calls.back(), (on ? "+" : "-") + std::to_string(level));
        }
    }
    throwing.onSwitched = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(SwitchAll(true, 0), std::runtime_error);
    EXPECT_TRUE(IsListFree());
    EXPECT_THROW(Manager().DisableLogLevel("throwing", "b", "debug", 0), std::runtime_error);
    EXPECT_TRUE(IsListFree());
    EXPECT_THAT(behind.calls, IsEmpty());
    EXPECT_EQ(throwing.Levels().to_ulong(), 0u);
    EXPECT_EQ(Diagnostics().Printed().size(), 7u);
}

TEST_F(BulkSwitching, HoldsTheListUntilTheLastLoggerIsSwitched) {
    Add("first");
    std::future<void> asked;
    Add("last").onSwitched = [&asked] {
        asked = std::async(std::launch::async, [] { Levels("meanwhile"); });
        EXPECT_EQ(asked.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    };
    EXPECT_EQ(SwitchAll(true, 2), 1);
    asked.get();
}

TEST_F(BulkSwitching, RunsWhileOthersMakeLoggersAndUseAndSwitchThem) {
    OnThreads(4, [](int number) {
        const std::string first = std::to_string(number);
        for (int round = 0; round < 200; ++round) {
            Manager()
                .GetLogger(first, std::to_string(round % 20), "debug")
                ->Log("f.cpp", "Run", 7, 1, "text");
            SwitchAll(true, 2);
            Manager().EnableLogLevel(first, "0", "debug", 0);
            SwitchAll(false, 1);
        }
    });
    int loggers = 0;
    Manager().Loggers().ForEach([&loggers](Logger& logger) {
        ++loggers;
        EXPECT_EQ(logger.Levels().to_ulong(), logger.Second() == "0" ? 0b0101u : 0b0100u);
    });
    EXPECT_EQ(loggers, 80);
}

// Else a level could end up off globally and on in the loggers, and no change of the configuration
// would find anything to do. The first thread is held up here where it waits for the list.
TEST_F(BulkSwitching, OfOneLevelEverywhereIsOverBeforeAnotherThreadSwitchesItEverywhere) {
    const SwitchingLogger& logger = Add("a");
    std::future<void> first;
    std::future<void> second;
    Manager().Loggers().ForEach([&](Logger&) {
        first = std::async(std::launch::async, [] { Manager().SwitchLevel(1, true); });
        while (!Manager().IsLogLevelEnabled(1)) {
            std::this_thread::yield();
        }
        second = std::async(std::launch::async, [] { Manager().SwitchLevel(1, false); });
        EXPECT_EQ(second.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
        EXPECT_TRUE(Manager().IsLogLevelEnabled(1));
    });
    first.get();
    second.get();
    EXPECT_FALSE(Manager().IsLogLevelEnabled(1));
    EXPECT_THAT(logger.calls, ElementsAre("+1", "-1"));
    EXPECT_EQ(logger.Levels().to_ulong(), 0u);
}

// The thread that switches is the parent's alone.
TEST_F(BulkSwitching, IsPossibleInAChildThatBeganMeanwhile) {
    Manager().BeforeFork();  // holds the list, for which the thread waits
    std::future<void> switching =
        std::async(std::launch::async, [] { Manager().SwitchLevel(1, true); });
    while (!Manager().IsLogLevelEnabled(1)) {
        std::this_thread::yield();
    }
    const pid_t child = ForkChild();
    if (child == 0) {
        Manager().AfterForkInChild();
        Manager().SwitchLevel(1, false);
        EndChild(Manager().IsLogLevelEnabled(1) ? 1 : 0);
    }
    Manager().AfterForkInParent();
    switching.get();
    EXPECT_TRUE(Manager().IsLogLevelEnabled(1));
    EXPECT_EQ(AwaitChild(child), 0);
}

using OneLoggersSwitching = BulkSwitching;

TEST_F(OneLoggersSwitching, CallsTheOperationOfTheNamedLoggerAndGivesItsAnswer) {
    SwitchingLogger& logger = Add("a");
    SwitchingLogger& other = Add("c");
    for (const bool refuses : {false, true}) {
        logger.refuses = refuses;
        logger.calls.clear();
        EXPECT_EQ(Manager().EnableLogLevel("a", "b", "debug", 3), refuses ? 0 : 1);
        EXPECT_EQ(Manager().DisableLogLevel("a", "b", "debug", 2), refuses ? 0 : 1);
        EXPECT_EQ(Manager().EnableLoggerLevels("a", "b", "debug"), refuses ? 0 : 1);
        EXPECT_EQ(Manager().DisableLoggerLevels("a", "b", "debug"), refuses ? 0 : 1);
        EXPECT_THAT(logger.calls, ElementsAre("+3", "-2", "+all", "-all"));
    }
    EXPECT_THAT(other.calls, IsEmpty());
    EXPECT_EQ(logger.Levels().to_ulong(), 0b1000u);
    EXPECT_THAT(Diagnostics().Printed(), IsEmpty());
}

TEST_F(OneLoggersSwitching, LeavesTheGlobalSwitchesAndItsNamesakesAlone) {
    const std::string zero("a\0b", 3);
    Manager().levelSwitches = LevelSwitches(0b1010);
    const Logger* const plain = Manager().GetLogger("a", "b", "debug");
    const Logger* const withZero = Manager().GetLogger(zero, "b", "debug");
    const Logger* const elsewhere = Manager().GetLogger(zero, "b", "corbasys");
    EXPECT_EQ(Manager().EnableLogLevel(zero, "b", "debug", 0), 1);
    EXPECT_EQ(Manager().DisableLogLevel(zero, "b", "debug", 3), 1);
    EXPECT_EQ(withZero->Levels().to_ulong(), 0b0011u);
    EXPECT_EQ(plain->Levels().to_ulong(), 0b1010u);
    EXPECT_EQ(elsewhere->Levels().to_ulong(), 0b1010u);
    EXPECT_EQ(Manager().levelSwitches.Get().to_ulong(), 0b1010u);
}

using ManagerSwitches = ManagerTest;

TEST_F(ManagerSwitches, AreReadAsTheyAreSetAndOffAboveLevelThree) {
    Manager().levelSwitches = LevelSwitches(0b1001);
    for (const uint32_t level : {0u, 1u, 2u, 3u, 4u, 32u, 64u, kLargest}) {
        EXPECT_EQ(Manager().IsLogLevelEnabled(level), level == 0 || level == 3) << level;
        Manager().SetEnableAsnLog(level);
        Manager().SetEnableOutputPara(level + 1);
        EXPECT_EQ(Manager().GetEnableAsnLog(), level);
        EXPECT_EQ(Manager().bEnableAsnLog, level);
        EXPECT_EQ(Manager().GetEnableOutputPara(), level + 1);
        EXPECT_EQ(Manager().bLogOutputPara, level + 1);
    }
}

}  // namespace
