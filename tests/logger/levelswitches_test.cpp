// A logger's own level switches, and the global ones that it starts with.
#include <atomic>
#include <climits>
#include <stdexcept>

#include "manager/managertest.h"

using NS_LOG_SERVICE1::LevelSwitches;
using NS_LOG_SERVICE1::Logger;
using NS_TEST::EndsOnAnotherThread;
using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

namespace {

class LoggerLevels : public NS_TEST::ManagerTest {
  protected:
    static Logger* LoggerWith(unsigned long levels) {
        Manager().levelSwitches = LevelSwitches(levels);
        return Manager().GetLogger("levels", std::to_string(levels), "debug");
    }
    static unsigned long Levels(const Logger* logger) { return logger->Levels().to_ulong(); }

    // The text of the std::out_of_range that `action` throws.
    template <class Action>
    static std::string OutOfRange(Action action) {
        try {
            action();
        } catch (const std::out_of_range& error) {
            return error.what();
        }
        return "nothing was thrown";
    }
};

TEST_F(LoggerLevels, StartAsACopyOfTheGlobalSwitches) {
    for (unsigned long levels = 0; levels < 16; ++levels) {
        EXPECT_EQ(Levels(LoggerWith(levels)), levels);
    }
}

TEST_F(LoggerLevels, DoNotFollowTheGlobalSwitchesAfterwards) {
    Logger* const logger = LoggerWith(0b0101);
    Manager().levelSwitches = LevelSwitches(0b1010);
    EXPECT_EQ(Levels(logger), 0b0101u);
    EXPECT_EQ(Manager().GetLogger("levels", "5", "debug"), logger);
    EXPECT_EQ(Levels(logger), 0b0101u);
}

TEST_F(LoggerLevels, AreSwitchedOneByOne) {
    Logger* const logger = LoggerWith(0);
    unsigned long expected = 0;
    for (unsigned int level = 0; level < 4; ++level) {
        EXPECT_TRUE(logger->EnableLevel(level));
        expected |= 1ul << level;
        EXPECT_EQ(Levels(logger), expected);
    }
    for (unsigned int level = 0; level < 4; ++level) {
        EXPECT_TRUE(logger->DisableLevel(level));
        expected &= ~(1ul << level);
        EXPECT_EQ(Levels(logger), expected);
    }
}

TEST_F(LoggerLevels, StayWhenTheyAreSwitchedToWhatTheyAre) {
    Logger* const logger = LoggerWith(0b1010);
    EXPECT_TRUE(logger->DisableLevel(0));
    EXPECT_TRUE(logger->EnableLevel(3));
    EXPECT_EQ(Levels(logger), 0b1010u);
}

TEST_F(LoggerLevels, EndAtThree) {
    Logger* const logger = LoggerWith(0b0110);
    EXPECT_TRUE(logger->EnableLevel(3));
    for (const unsigned int level : {4u, 5u, 31u, 32u, 64u, UINT_MAX}) {
        const std::string text =
            "bitset::set: __position (which is " + std::to_string(level) + ") >= _Nb (which is 4)";
        EXPECT_EQ(OutOfRange([&] { logger->EnableLevel(level); }), text);
        EXPECT_EQ(OutOfRange([&] { logger->DisableLevel(level); }), text);
        EXPECT_EQ(Levels(logger), 0b1110u);
    }
}

TEST_F(LoggerLevels, AreFreeForOthersAfterAnException) {
    Logger* const logger = LoggerWith(0);
    EXPECT_THROW(logger->EnableLevel(4), std::out_of_range);
    EXPECT_TRUE(EndsOnAnotherThread([logger] { logger->EnableLevel(1); }));
    EXPECT_THROW(logger->DisableLevel(4), std::out_of_range);
    EXPECT_TRUE(EndsOnAnotherThread([logger] { logger->EnableLevel(2); }));
    EXPECT_EQ(Levels(logger), 0b0110u);
}

TEST_F(LoggerLevels, CannotBeSwitchedAllAtOnce) {
    for (const unsigned long levels : {0b0000ul, 0b0101ul, 0b1111ul}) {
        Logger* const logger = LoggerWith(levels);
        for (bool (Logger::*operation)() : {&Logger::EnableAllLevels, &Logger::DisableAllLevels}) {
            EXPECT_THAT(OutOfRange([&] { (logger->*operation)(); }),
                        AllOf(StartsWith("bitset::set: __position (which is "),
                              EndsWith(") >= _Nb (which is 4)")));
            EXPECT_EQ(Levels(logger), levels);
            EXPECT_TRUE(EndsOnAnotherThread([logger] { EXPECT_TRUE(logger->EnableLevel(1)); }));
            EXPECT_TRUE(EndsOnAnotherThread([logger, levels] {
                if ((levels & 2) == 0) {
                    logger->DisableLevel(1);
                }
            }));
        }
        EXPECT_EQ(Levels(logger), levels);
    }
}

TEST_F(LoggerLevels, BelongToOneLogger) {
    Logger* const one = Manager().GetLogger("one", "", "debug");
    Logger* const other = Manager().GetLogger("other", "", "debug");
    EXPECT_EQ(one->Channel(), other->Channel());
    one->EnableLevel(2);
    EXPECT_EQ(Levels(one), 0b0100u);
    EXPECT_EQ(Levels(other), 0u);
    EXPECT_EQ(Manager().levelSwitches.Get().to_ulong(), 0u);
}

TEST_F(LoggerLevels, AnswerQueriesWithTheGlobalSwitches) {
    Logger* const logger = LoggerWith(0);
    logger->EnableLevel(2);
    EXPECT_FALSE(logger->IsLevelEnabled(2));
    Manager().levelSwitches = LevelSwitches(0b0100);
    logger->DisableLevel(2);
    EXPECT_TRUE(logger->IsLevelEnabled(2));
    EXPECT_FALSE(logger->IsLevelEnabled(0));
    EXPECT_FALSE(logger->IsLevelEnabled(1));
    EXPECT_FALSE(logger->IsLevelEnabled(3));
}

TEST_F(LoggerLevels, AreOffAboveThree) {
    Logger* const logger = LoggerWith(0b1111);
    EXPECT_TRUE(logger->IsLevelEnabled(3));
    for (const unsigned int level : {4u, 7u, 32u, 64u, UINT_MAX}) {
        EXPECT_FALSE(logger->IsLevelEnabled(level)) << level;
    }
}

// Each thread keeps one level to itself; no switch may undo another one.
TEST_F(LoggerLevels, AreSwitchedByManyThreadsWithoutLosingOne) {
    Logger* const logger = LoggerWith(0);
    std::atomic<int> lost{0};
    std::vector<std::thread> threads;
    for (unsigned int level = 0; level < 4; ++level) {
        threads.emplace_back([logger, level, &lost] {
            for (int round = 0; round < 2000; ++round) {
                logger->EnableLevel(level);
                lost += logger->Levels()[level] ? 0 : 1;
                logger->DisableLevel(level);
                lost += logger->Levels()[level] ? 1 : 0;
            }
            logger->EnableLevel(level);
        });
        threads.emplace_back([logger] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_THROW(logger->EnableAllLevels(), std::out_of_range);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(Levels(logger), 0b1111u);
}

}  // namespace
