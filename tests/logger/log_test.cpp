// What becomes of a record: written, queued, or kept back.
#include <climits>

#include "manager/managerfixture.h"

using namespace NS_LOG_SERVICE1;
using namespace NS_TEST;

namespace {

class Log : public NS_TEST::ManagerTest {
  protected:
    static Logger& LoggerWith(unsigned long levels) {
        Manager().levelSwitches = LevelSwitches(levels);
        return *Debug();
    }
    static void Write(Logger& logger, int level, const std::string& text) {
        logger.Log("f.cpp", "Run", 7, level, text);
    }
    // How many records wait in the channel's queue and in its cache.
    static void ExpectWaiting(uint64_t queued, uint64_t cached) {
        const auto& statistics = Manager().Channels().Find("debug")->Statistics();
        EXPECT_EQ(statistics.queued.Get(), queued);
        EXPECT_EQ(statistics.keptBack.Get(), cached);
    }
};

TEST_F(Log, WritesARecordOfALevelThatIsOn) {
    Logger& logger = LoggerWith(0b1110);
    std::string expected;
    for (const int level : {1, 2, 3}) {
        Write(logger, level, "text");
        expected += Frame(static_cast<unsigned>(level), level, "text");
        EXPECT_EQ(Written("debug"), expected);
    }
    ExpectWaiting(0, 0);
}

TEST_F(Log, KeepsBackARecordOfALevelThatIsOff) {
    for (const uint32_t mode : {0u, 1u}) {
        Manager().outputmode = mode;
        Logger& logger = LoggerWith(0);
        logger.DisableLevel(0);
        Write(logger, 1, "kept back");
        Write(logger, 0, "no trigger");
        ExpectWaiting(0, 2);
        logger.EnableLevel(0);
        Write(logger, 0, "trigger");
        EXPECT_THAT(
            Written("debug"),
            testing::EndsWith(DumpFrame(mode + 1, "trigger",
                                        DumpedLine(1, "kept back") + DumpedLine(0, "no trigger"))));
        ExpectWaiting(0, 0);
    }
    EXPECT_EQ(ParseLogDirectory(Path("log")).size(), 3u);
}

TEST_F(Log, TakesALevelAboveThreeAsThree) {
    Logger& logger = LoggerWith(0b1001);
    unsigned number = 0;
    std::string expected;
    for (const int level : {4, 5, 7, 1000, INT_MAX}) {
        Write(logger, level, "text");
        expected += Frame(++number, 3, "text");
        EXPECT_EQ(Written("debug"), expected) << level;
    }
    logger.DisableLevel(3);
    Write(logger, 5, "kept back");
    Write(logger, INT_MAX, "kept back too");
    ExpectWaiting(0, 2);
    Write(logger, 0, "trigger");
    EXPECT_EQ(Written("debug"),
              expected + DumpFrame(++number, "trigger",
                                   DumpedLine(3, "kept back") + DumpedLine(3, "kept back too")));
}

TEST_F(Log, AlwaysWritesANegativeLevel) {
    Logger& logger = LoggerWith(0);
    Write(logger, -1, "dump");
    Write(logger, -2, "short");
    Write(logger, -5, "minus five");
    Write(logger, INT_MIN, "least");
    EXPECT_EQ(Written("debug"), Frame(1, -1, "dump") + "STAMP,short\n" +
                                    Frame(3, -5, "minus five") + Frame(4, INT_MIN, "least"));
    ExpectWaiting(0, 0);
}

TEST_F(Log, DecidesByTheLoggersOwnSwitches) {
    Logger& logger = LoggerWith(0);
    logger.EnableLevel(1);
    Manager().levelSwitches = LevelSwitches(0b0100);
    Write(logger, 1, "on here");
    Write(logger, 2, "off here");
    EXPECT_EQ(Written("debug"), Frame(1, 1, "on here"));
    ExpectWaiting(0, 1);
}

TEST_F(Log, DumpsWhatAnyLoggerOfTheCategoryKeptBack) {
    Logger& logger = LoggerWith(0);
    Write(*Manager().GetLogger("other", "", "debug"), 2, "from the other");
    Write(*Manager().GetLogger("a", "b", "corbasys"), 2, "of another category");
    logger.EnableLevel(0);
    Write(logger, 0, "trigger");
    Write(logger, 0, "nothing left");
    EXPECT_EQ(Written("debug"), DumpFrame(1, "trigger", DumpedLine(2, "from the other")) +
                                    DumpFrame(2, "nothing left"));
    EXPECT_TRUE(Files("corbasys").empty());
}

TEST_F(Log, QueuesInEveryModeButZero) {
    Logger& logger = LoggerWith(0b0010);
    uint64_t queued = 0;
    for (const uint32_t mode : {1u, 2u, UINT_MAX}) {
        Manager().outputmode = mode;
        for (const int level : {1, -1, -2}) {
            Write(logger, level, "text");
            ExpectWaiting(++queued, 0);
        }
    }
    EXPECT_TRUE(ListFiles(Path()).empty());
    Manager().outputmode = 0;
    Write(logger, 1, "direct");
    EXPECT_EQ(Written("debug"), Frame(1, 1, "direct"));
    ExpectWaiting(queued, 0);
}

TEST_F(Log, FindsTheChannelThatDidNotExistWhenItsLoggerWasMade) {
    ChannelMap channels;
    Logger logger("a", "b", "debug", Manager(), channels);
    Write(logger, -1, "lost");
    channels.Create(Manager());
    Write(logger, -1, "first");
    Write(logger, -1, "second");
    EXPECT_EQ(Written("debug"), Frame(1, -1, "first") + Frame(2, -1, "second"));
    channels.Destroy();
}

TEST_F(Log, LosesRecordsSilentlyWithoutAChannel) {
    ChannelMap noChannels;
    Logger logger("a", "b", "debug", Manager(), noChannels);
    logger.EnableLevel(0);
    for (const uint32_t mode : {0u, 1u}) {
        Manager().outputmode = mode;
        for (const int level : {-2, -1, 0, 1}) {
            Write(logger, level, "lost");
        }
    }
    EXPECT_TRUE(ListFiles(Path()).empty());
    EXPECT_TRUE(Diagnostics().Printed().empty());
}

}  // namespace
