// What becomes of a record: written, queued, or kept back.
#include <climits>

#include "bundlemgr/logsupport.h"
#include "manager/managertest.h"

using NS_LOG_SERVICE1::LevelSwitches;
using NS_LOG_SERVICE1::Logger;
using NS_TEST::DumpedLine;
using NS_TEST::DumpFrame;
using NS_TEST::Frame;
using NS_TEST::ThreadText;

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
    static uint64_t Cached() {
        return Manager().Channels().Find("debug")->Statistics().keptBack.Get();
    }
    static uint64_t Queued() {
        return Manager().Channels().Find("debug")->Statistics().queued.Get();
    }
};

TEST_F(Log, WritesARecordOfALevelThatIsOn) {
    Logger& logger = LoggerWith(0b1110);
    Write(logger, 1, "one");
    EXPECT_EQ(Written("debug"), Frame(1, 1, "one"));
    Write(logger, 2, "two");
    Write(logger, 3, "three");
    EXPECT_EQ(Written("debug"), Frame(1, 1, "one") + Frame(2, 2, "two") + Frame(3, 3, "three"));
    EXPECT_EQ(Cached(), 0u);
}

TEST_F(Log, KeepsBackARecordOfALevelThatIsOff) {
    Logger& logger = LoggerWith(0b1101);
    Write(logger, 1, "kept back");
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    EXPECT_EQ(Cached(), 1u);
    Write(logger, 0, "trigger");
    EXPECT_EQ(Written("debug"), DumpFrame(1, "trigger", DumpedLine(1, "kept back")));
    EXPECT_EQ(Cached(), 0u);
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
    EXPECT_EQ(Written("debug"), expected);
    EXPECT_EQ(Cached(), 2u);
    Write(logger, 0, "trigger");
    EXPECT_EQ(Written("debug"),
              expected + DumpFrame(++number, "trigger",
                                   DumpedLine(3, "kept back") + DumpedLine(3, "kept back too")));
}

TEST_F(Log, AlwaysWritesANegativeLevel) {
    Logger& logger = LoggerWith(0);
    Write(logger, -1, "dump");
    Write(logger, -5, "minus five");
    Write(logger, INT_MIN, "least");
    EXPECT_EQ(Written("debug"),
              Frame(1, -1, "dump") + Frame(2, -5, "minus five") + Frame(3, INT_MIN, "least"));
    EXPECT_EQ(Cached(), 0u);
}

TEST_F(Log, WritesAShortRecordOnOneLineAndUsesUpANumber) {
    Logger& logger = LoggerWith(0);
    Write(logger, -1, "first");
    Write(logger, -2, "short");
    Write(logger, -1, "third");
    EXPECT_EQ(Written("debug"), Frame(1, -1, "first") + "STAMP,short\n" + Frame(3, -1, "third"));
}

TEST_F(Log, WritesAnEmptyDumpAroundALevelZeroRecord) {
    Logger& logger = LoggerWith(0b0001);
    Write(logger, 0, "trigger");
    EXPECT_EQ(Written("debug"), DumpFrame(1, "trigger"));
}

TEST_F(Log, KeepsBackALevelZeroRecordThatIsOff) {
    Logger& logger = LoggerWith(0);
    Write(logger, 0, "no trigger");
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    EXPECT_EQ(Cached(), 1u);
    logger.EnableLevel(0);
    Write(logger, 0, "trigger");
    EXPECT_EQ(Written("debug"), DumpFrame(1, "trigger", DumpedLine(0, "no trigger")));
}

TEST_F(Log, DecidesByTheLoggersOwnSwitches) {
    Logger& logger = LoggerWith(0);
    logger.EnableLevel(1);
    Manager().levelSwitches = LevelSwitches(0b0100);
    Write(logger, 1, "on here");
    Write(logger, 2, "off here");
    EXPECT_EQ(Written("debug"), Frame(1, 1, "on here"));
    EXPECT_EQ(Cached(), 1u);
}

TEST_F(Log, DumpsWhatAnyLoggerOfTheCategoryKeptBack) {
    Logger& logger = LoggerWith(0);
    Logger& other = *Manager().GetLogger("other", "", "debug");
    Logger& elsewhere = *Manager().GetLogger("a", "b", "corbasys");
    Write(other, 2, "from the other");
    Write(elsewhere, 2, "of another category");
    logger.EnableLevel(0);
    Write(logger, 0, "trigger");
    EXPECT_EQ(Written("debug"), DumpFrame(1, "trigger", DumpedLine(2, "from the other")));
    EXPECT_TRUE(Files("corbasys").empty());
}

TEST_F(Log, QueuesInEveryModeButZero) {
    Logger& logger = LoggerWith(0b0010);
    uint64_t queued = 0;
    for (const uint32_t mode : {1u, 2u, UINT_MAX}) {
        Manager().outputmode = mode;
        Write(logger, 1, "text");
        Write(logger, -1, "text");
        Write(logger, -2, "text");
        queued += 3;
        EXPECT_EQ(Queued(), queued);
        EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    }
    Manager().outputmode = 0;
    Write(logger, 1, "direct");
    EXPECT_EQ(Written("debug"), Frame(1, 1, "direct"));
    EXPECT_EQ(Queued(), queued);
}

TEST_F(Log, WritesTheQueueInFrontOfALevelZeroRecord) {
    Logger& logger = LoggerWith(0b0011);
    Manager().outputmode = 1;
    Write(logger, 1, "queued");
    Write(logger, -2, "short");
    Write(logger, 2, "kept back");
    EXPECT_EQ(Queued(), 2u);
    EXPECT_EQ(Cached(), 1u);
    Write(logger, 0, "trigger");
    EXPECT_EQ(Written("debug"), Frame(1, 1, "queued") + "STAMP,short\n" +
                                    DumpFrame(3, "trigger", DumpedLine(2, "kept back")));
    EXPECT_EQ(Queued(), 0u);
    EXPECT_EQ(Cached(), 0u);
}

TEST_F(Log, KeepsBackInQueuedModeToo) {
    Logger& logger = LoggerWith(0);
    Manager().outputmode = 1;
    Write(logger, 1, "kept back");
    EXPECT_EQ(Queued(), 0u);
    EXPECT_EQ(Cached(), 1u);
}

// Records hold their own copies; the caller's texts may change.
TEST_F(Log, KeepsCopiesOfTheCallersTexts) {
    Logger& logger = LoggerWith(0b0011);
    Manager().outputmode = 1;
    {
        std::string file(300, 'f');
        std::string function(300, 'g');
        std::string text(300, 't');
        logger.Log(file, function, 7, 1, text);
        logger.Log(file, function, 7, 2, text);
        file.assign(300, 'x');
        function.assign(300, 'x');
        text.assign(300, 'x');
    }
    logger.Log("f.cpp", "Run", 7, 0, "trigger");
    const std::string head =
        ", File: " + std::string(300, 'f') + " Func:" + std::string(300, 'g') + " Line:7\n Detail";
    EXPECT_THAT(Written("debug"), testing::HasSubstr("DL:1" + head + ": " + std::string(300, 't')));
    EXPECT_THAT(Written("debug"),
                testing::HasSubstr("DL:2" + head + " : " + std::string(300, 't')));
}

TEST_F(Log, LosesRecordsSilentlyWithoutAChannel) {
    NS_LOG_SERVICE1::ChannelMap noChannels;
    Logger logger("a", "b", "debug", Manager(), noChannels);
    logger.EnableLevel(0);
    for (const uint32_t mode : {0u, 1u}) {
        Manager().outputmode = mode;
        for (const int level : {-2, -1, 0, 1}) {
            Write(logger, level, "lost");
        }
    }
    EXPECT_TRUE(NS_TEST::ListFiles(Path()).empty());
    EXPECT_TRUE(NS_TEST::Diagnostics().Printed().empty());
}

}  // namespace
