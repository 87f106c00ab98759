// A trace while its logger's level 3 is off.
//
// The message is not printed then: a trace that nobody wants must not cost the printing. The call
// still leaves a record in the cache, whose text is what the shared buffer holds, the previous dump
// of the process, whether it was masked or not. Printing and masking just for the cache would cost
// as much as with the level on.
#include <gtest/gtest.h>

#include <string>

#include "logger/asndumpfixture.h"

namespace {

using NS_LOG_SERVICE1::LevelSwitches;
using namespace NS_TEST;

class TraceWithLevelThreeOff : public NS_TEST::AsnDumpTest {
  protected:
    TraceWithLevelThreeOff() { off_.writes = true; }

    // What the trace logs.
    std::string TraceOff() {
        off_.LogAsnTrace("f.cpp", "Run", 7, message_);
        return off_.LastText();
    }

    // What stood in the channel's cache before the last dump of it, with the level of each record.
    std::vector<std::string> KeptBack() const {
        std::vector<std::string> texts;
        const auto dumps = OfKind(ParseLogDirectory(Path("log")), ParsedPiece::DUMP);
        for (const ParsedRecord& record : dumps.back().dumped) {
            texts.push_back(std::to_string(record.level) + " " + record.detail);
        }
        return texts;
    }

    ScriptedMessage message_ = TextMessage("QAsnGetNEInfoRsp", "new");
};

TEST_F(TraceWithLevelThreeOff, LogsThePreviousTextAgainAndDoesNotPrintTheMessage) {
    indentG = 5;
    EXPECT_EQ(TraceOff(), "");
    EXPECT_EQ(indentG, 0);
    Traced(TextMessage("previous\n"));
    EXPECT_EQ(TraceOff(), "previous\n");
    EXPECT_EQ(message_.printed, 0);
    EXPECT_EQ(message_.typeNameAsked, 0);
}

TEST_F(TraceWithLevelThreeOff, KeepsItsRecordsBackInEveryModeUntilTheCacheIsDumped) {
    Traced(TextMessage("previous"));
    for (const uint32_t mode : {0u, 1u}) {
        settings_.outputmode = mode;
        TraceOff();
        TraceOff();
        EXPECT_EQ(Channel().Statistics().keptBack.Get(), 2u);
        EXPECT_EQ(Channel().Statistics().queued.Get(), 0u);
        if (mode == 0) {
            off_.Log("f.cpp", "Run", 7, 0, "grave");
        } else {
            Channel().OutputAll();
        }
        EXPECT_THAT(KeptBack(), testing::ElementsAre("3 previous", "3 previous"));
    }
}

// A masked text masked, and what PrintAsn wrote unmasked: whoever wants no secrets in the files
// uses no PrintAsn for messages that carry them.
TEST_F(TraceWithLevelThreeOff, RepeatsTheDumpOfAnyLoggerAndThreadAsItWasLogged) {
    const std::string secret = "NEPwd = \"abcd\"";
    Traced(TextMessage("QAsnGetNEInfoRsp", secret));
    EXPECT_EQ(TraceOff(), "NEPwd = \"****\"");
    Printed(TextMessage("QAsnGetNEInfoRsp", secret));
    EXPECT_EQ(TraceOff(), secret);
    RecordingLogger other("c", "d", "corbasys", settings_, channels_);
    ScriptedMessage message = TextMessage("of another category");
    other.PrintAsn("g.cpp", "Other", 8, message);
    EXPECT_EQ(TraceOff(), "of another category");
    EXPECT_EQ(PrintedByAnotherThread("of another thread"), "of another thread");
    EXPECT_EQ(TraceOff(), "of another thread");
}

TEST_F(TraceWithLevelThreeOff, LooksAtTheLoggersOwnSwitchOfLevelThreeAlone) {
    settings_.levelSwitches = LevelSwitches();
    for (const unsigned int level : {0u, 1u, 2u}) {
        logger_.DisableLevel(level);
    }
    EXPECT_EQ(Traced(TextMessage("own switch on")), "own switch on");
    settings_.levelSwitches = LevelSwitches(0b1111);
    EXPECT_EQ(TraceOff(), "own switch on");
    off_.EnableLevel(3);
    EXPECT_EQ(TraceOff(), "new");
    EXPECT_EQ(message_.printed, 1);
}

}  // namespace
