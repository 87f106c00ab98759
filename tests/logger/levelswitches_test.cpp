// A logger's own level switches, and the global ones that it starts with.
#include <atomic>
#include <climits>
#include <stdexcept>

#include "manager/managerfixture.h"
#include "support/onthreads.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;
using testing::MatchesRegex;

namespace {

class LoggerLevels : public NS_TEST::ManagerTest {
  protected:
    static Logger* LoggerWith(unsigned long levels) {
        Manager().levelSwitches = LevelSwitches(levels);
        return Manager().GetLogger("levels", std::to_string(levels), "debug");
    }
    static unsigned long Levels(const Logger* logger) { return logger->Levels().to_ulong(); }

    // `action` throws std::out_of_range for `position`, a regular expression, and leaves the
    // logger's switches and their lock as they were.
    template <class Action>
    static void ExpectOutOfRange(Logger* logger, const std::string& position, Action action) {
        const unsigned long before = Levels(logger);
        try {
            action();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const std::out_of_range& error) {
            EXPECT_THAT(error.what(), MatchesRegex("bitset::set: __position \\(which is " +
                                                   position + "\\) >= _Nb \\(which is 4\\)"));
        }
        EXPECT_EQ(Levels(logger), before);
        EXPECT_TRUE(FinishesOnAnotherThread([logger] { logger->EnableLevel(3); }));
    }
};

TEST_F(LoggerLevels, StartAsACopyOfTheGlobalSwitchesAndDoNotFollowThem) {
    for (unsigned long levels = 0; levels < 16; ++levels) {
        Logger* const logger = LoggerWith(levels);
        EXPECT_EQ(Levels(logger), levels);
        Manager().levelSwitches = LevelSwitches(~levels);
        EXPECT_EQ(Manager().GetLogger("levels", std::to_string(levels), "debug"), logger);
        EXPECT_EQ(Levels(logger), levels);
    }
}

TEST_F(LoggerLevels, AreSwitchedOneByOne) {
    Logger* const logger = LoggerWith(0);
    unsigned long expected = 0;
    for (const bool on : {true, false}) {
        for (unsigned int level = 0; level < 4; ++level) {
            expected ^= 1ul << level;
            for (int again = 0; again < 2; ++again) {
                EXPECT_TRUE(on ? logger->EnableLevel(level) : logger->DisableLevel(level));
                EXPECT_EQ(Levels(logger), expected);
            }
        }
    }
}

TEST_F(LoggerLevels, EndAtThree) {
    Logger* const logger = LoggerWith(0b1110);
    for (const unsigned int level : {4u, 5u, 31u, 32u, 64u, UINT_MAX}) {
        const std::string position = std::to_string(level);
        ExpectOutOfRange(logger, position, [&] { logger->EnableLevel(level); });
        ExpectOutOfRange(logger, position, [&] { logger->DisableLevel(level); });
    }
}

TEST_F(LoggerLevels, CannotBeSwitchedAllAtOnce) {
    for (const unsigned long levels : {0b1000ul, 0b1010ul, 0b1111ul}) {
        Logger* const logger = LoggerWith(levels);
        ExpectOutOfRange(logger, "[0-9]+", [&] { logger->EnableAllLevels(); });
        ExpectOutOfRange(logger, "[0-9]+", [&] { logger->DisableAllLevels(); });
        EXPECT_EQ(Levels(logger), levels);
    }
}

// Clients ask a logger what the service would show at all, whatever its own switches say.
TEST_F(LoggerLevels, AnswerQueriesWithTheGlobalSwitches) {
    Logger* const logger = LoggerWith(0);
    logger->EnableLevel(2);
    EXPECT_FALSE(logger->IsLevelEnabled(2));
    logger->DisableLevel(2);
    for (const unsigned long levels : {0b0100ul, 0b1011ul, 0b1111ul}) {
        Manager().levelSwitches = LevelSwitches(levels);
        for (unsigned int level = 0; level < 4; ++level) {
            EXPECT_EQ(logger->IsLevelEnabled(level), (levels >> level & 1) != 0) << level;
        }
        for (const unsigned int level : {4u, 7u, 32u, 64u, UINT_MAX}) {
            EXPECT_FALSE(logger->IsLevelEnabled(level)) << level;
        }
    }
}

// Each level has a thread to itself; no switch may undo another one.
TEST_F(LoggerLevels, AreSwitchedByManyThreadsWithoutLosingOne) {
    Logger* const logger = LoggerWith(0);
    std::atomic<int> lost{0};
    OnThreads(8u, [logger, &lost](unsigned int number) {
        for (int round = 0; round < 20'000; ++round) {
            if (number < 4) {
                logger->EnableLevel(number);
                lost += logger->Levels()[number] ? 0 : 1;
                logger->DisableLevel(number);
                lost += logger->Levels()[number] ? 1 : 0;
            } else if (round % 100 == 0) {
                EXPECT_THROW(logger->EnableAllLevels(), std::out_of_range);
            }
        }
        if (number < 4) {
            logger->EnableLevel(number);
        }
    });
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(Levels(logger), 0b1111u);
}

}  // namespace
