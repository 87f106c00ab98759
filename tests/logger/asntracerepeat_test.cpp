// A trace while its logger's level 3 is off.
//
// The message is not printed then: a trace that nobody wants must not cost the printing. The call
// still leaves a record in the cache, whose text is what the shared buffer holds, the previous dump
// of the process, whether it was masked or not. Printing and masking just for the cache would cost
// as much as with the level on, so this is kept as it is.
#include <gtest/gtest.h>

#include <string>

#include "logger/asndumpfixture.h"
#include "support/logfileparser.h"

namespace {

using NS_LOG_SERVICE1::LevelSwitches;
using NS_TEST::ParsedPiece;
using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;
using testing::IsEmpty;

class TraceWithLevelThreeOff : public NS_TEST::AsnDumpTest {
  protected:
    TraceWithLevelThreeOff() : message_(TextMessage("QAsnGetNEInfoRsp", "new")) {
        off_.DisableLevel(3);
        off_.writes = true;
    }

    void TraceOff() { off_.LogAsnTrace("f.cpp", "Run", 7, message_); }

    // What the channel's cache has kept back, with the level of each record.
    std::vector<std::string> KeptBack() {
        Channel().OutputAll();
        std::vector<std::string> texts;
        const auto dumps =
            NS_TEST::OfKind(NS_TEST::ParseLogDirectory(Path("log")), ParsedPiece::DUMP);
        for (const NS_TEST::ParsedRecord& record : dumps.back().dumped) {
            texts.push_back(std::to_string(record.level) + " " + record.detail);
        }
        return texts;
    }

    NS_TEST::RecordingLogger off_{"a", "b", "debug", settings_, channels_};
    ScriptedMessage message_;
};

TEST_F(TraceWithLevelThreeOff, LogsThePreviousTextAgainAtLevelThree) {
    Traced(TextMessage("previous\n"));
    TraceOff();
    ASSERT_EQ(off_.Calls().size(), 1u);
    EXPECT_EQ(off_.Calls().front().level, 3);
    EXPECT_EQ(off_.Calls().front().text, "previous\n");
    EXPECT_EQ(off_.Calls().front().file, "f.cpp");
    EXPECT_EQ(off_.Calls().front().function, "Run");
    EXPECT_EQ(off_.Calls().front().line, 7u);
}

TEST_F(TraceWithLevelThreeOff, DoesNotPrintTheMessage) {
    TraceOff();
    EXPECT_EQ(message_.printed, 0);
    EXPECT_EQ(message_.typeNameAsked, 0);
}

TEST_F(TraceWithLevelThreeOff, SetsTheNestingToNoneAllTheSame) {
    indentG = 5;
    TraceOff();
    EXPECT_EQ(indentG, 0);
}

TEST_F(TraceWithLevelThreeOff, LogsAnEmptyTextWhenThereWasNoDumpBefore) {
    TraceOff();
    ASSERT_EQ(off_.Calls().size(), 1u);
    EXPECT_EQ(off_.Calls().front().text, "");
}

TEST_F(TraceWithLevelThreeOff, KeepsTheRecordBack) {
    Traced(TextMessage("previous"));
    TraceOff();
    TraceOff();
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
    EXPECT_EQ(Channel().Statistics().keptBack.Get(), 2u);
    EXPECT_THAT(KeptBack(), testing::ElementsAre("3 previous", "3 previous"));
}

TEST_F(TraceWithLevelThreeOff, KeepsTheRecordBackWhileOutputIsQueued) {
    settings_.outputmode = 1;
    TraceOff();
    EXPECT_EQ(Channel().Statistics().keptBack.Get(), 1u);
    EXPECT_EQ(Channel().Statistics().queued.Get(), 0u);
}

TEST_F(TraceWithLevelThreeOff, ComesOutAroundARecordOfLevelZero) {
    Traced(TextMessage("previous"));
    TraceOff();
    off_.Log("f.cpp", "Run", 7, 0, "grave");
    const auto dumps = NS_TEST::OfKind(NS_TEST::ParseLogDirectory(Path("log")), ParsedPiece::DUMP);
    ASSERT_EQ(dumps.size(), 1u);
    ASSERT_EQ(dumps.front().dumped.size(), 1u);
    EXPECT_EQ(dumps.front().dumped.front().level, 3);
    EXPECT_EQ(dumps.front().dumped.front().detail, "previous");
}

// Whoever wants no secrets in the files uses no PrintAsn for messages that carry them.
TEST_F(TraceWithLevelThreeOff, RepeatsWhatPrintAsnWroteUnmasked) {
    Printed(TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\""));
    TraceOff();
    EXPECT_THAT(KeptBack(), testing::ElementsAre("3 NEPwd = \"abcd\""));
}

TEST_F(TraceWithLevelThreeOff, RepeatsAMaskedTextMasked) {
    Traced(TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\""));
    TraceOff();
    EXPECT_EQ(off_.LastText(), "NEPwd = \"****\"");
}

TEST_F(TraceWithLevelThreeOff, RepeatsTheDumpOfAnyLoggerOfTheProcess) {
    NS_TEST::RecordingLogger other("c", "d", "corbasys", settings_, channels_);
    ScriptedMessage message = TextMessage("of another category");
    other.PrintAsn("g.cpp", "Other", 8, message);
    TraceOff();
    EXPECT_EQ(off_.LastText(), "of another category");
    EXPECT_EQ(PrintedByAnotherThread("of another thread"), "of another thread");
    TraceOff();
    EXPECT_EQ(off_.LastText(), "of another thread");
}

TEST_F(TraceWithLevelThreeOff, LooksAtTheLoggersOwnSwitch) {
    settings_.levelSwitches = LevelSwitches();
    EXPECT_EQ(Traced(TextMessage("own switch on")), "own switch on");
    settings_.levelSwitches = LevelSwitches(0b1111);
    TraceOff();
    EXPECT_EQ(message_.printed, 0);
}

TEST_F(TraceWithLevelThreeOff, LooksAtLevelThreeAlone) {
    for (const unsigned int level : {0u, 1u, 2u}) {
        logger_.DisableLevel(level);
    }
    EXPECT_EQ(Traced(TextMessage("text")), "text");
}

TEST_F(TraceWithLevelThreeOff, PrintsAgainOnceTheLevelIsOn) {
    Traced(TextMessage("previous"));
    TraceOff();
    off_.EnableLevel(3);
    TraceOff();
    EXPECT_EQ(message_.printed, 1);
    EXPECT_EQ(off_.LastText(), "new");
}

// Printing does not look at the level, so the two operations differ.
TEST_F(TraceWithLevelThreeOff, DoesNotHinderPrintAsn) {
    off_.PrintAsn("f.cpp", "Run", 7, message_);
    EXPECT_EQ(message_.printed, 1);
    EXPECT_EQ(off_.LastText(), "new");
}

}  // namespace
