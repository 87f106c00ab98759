// What many threads see of the levels that are switched in bulk, and what a logger is asked.
#include <atomic>
#include <stdexcept>
#include <thread>

#include "support/servicefixture.h"
#include "support/switchinglogger.h"
#include "support/waiting.h"

using NS_TEST::AddSwitchingLogger;
using NS_TEST::SwitchingLogger;
using testing::ElementsAre;

namespace {

class LevelSwitching : public NS_TEST::ServiceTest {
  protected:
    LevelSwitching() {
        SetLevels("0101");
        Manager().CreateChannels();
    }
};

TEST_F(LevelSwitching, InBulkAsksEachLoggerEvenForWhatHoldsAlready) {
    SwitchingLogger& first = AddSwitchingLogger("a", "b");
    SwitchingLogger& second = AddSwitchingLogger("c", "d", "corbaoper");
    Manager().EnableAllLogLevel(1);
    Manager().DisableAllLogLevel(0);
    EXPECT_THAT(first.calls, ElementsAre("+1", "-0"));
    EXPECT_THAT(second.calls, ElementsAre("+1", "-0"));
}

TEST_F(LevelSwitching, OfOneLoggerLeavesTheGlobalSwitchesAndItsNamesakeAlone) {
    const std::string zero("a\0b", 3);
    auto* plain = Manager().GetLogger("a", "b", "debug");
    auto* withZero = Manager().GetLogger(zero, "b", "debug");
    auto* elsewhere = Manager().GetLogger(zero, "b", "corbasys");
    EXPECT_EQ(Manager().EnableLogLevel(zero, "b", "debug", 0), 1);
    EXPECT_EQ(Manager().DisableLogLevel(zero, "b", "debug", 3), 1);
    EXPECT_EQ(Levels(withZero->Levels()), "1100");
    EXPECT_EQ(Levels(plain->Levels()), "0101");
    EXPECT_EQ(Levels(elsewhere->Levels()), "0101");
    EXPECT_EQ(Levels(), "0101");
}

TEST_F(LevelSwitching, ReleasesTheListWhenALoggerThrows) {
    AddSwitchingLogger("a", "b").onSwitched = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(Manager().EnableAllLogLevel(0), std::runtime_error);
    EXPECT_THROW(Manager().DisableLogLevel("a", "b", "debug", 0), std::runtime_error);
    EXPECT_TRUE(
        NS_TEST::FinishesOnAnotherThread([] { Manager().GetLogger("another", "one", "debug"); }));
}

TEST_F(LevelSwitching, HoldsTheListUntilTheLastLoggerIsSwitched) {
    std::promise<void> release;
    std::promise<void> reached;
    AddSwitchingLogger("a", "b");
    AddSwitchingLogger("c", "d").onSwitched = [&] {
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

// Else a level could be off globally and on in the loggers, and no change of the configuration
// would find anything to do.
TEST_F(LevelSwitching, OfTwoThreadsAtOnceLeavesAllAsOneOfThemWantsIt) {
    SwitchingLogger& logger = AddSwitchingLogger("a", "b");
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
