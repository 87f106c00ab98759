// What the dump of an ASN message puts into the log.
#include <gtest/gtest.h>

#include <string>

#include "logger/asndumpfixture.h"
#include "support/capturedoutput.h"

namespace {

using namespace std::string_literals;
using NS_LOG_SERVICE1::LevelSwitches;
using namespace NS_TEST;
using testing::IsEmpty;

class AsnDumpByEither : public NS_TEST::EachAsnOperation {};
QV_FOR_EACH_ASN_OPERATION(AsnDumpByEither);

using PrintAsn = AsnDumpTest;
using LogAsnTrace = AsnDumpTest;

TEST_P(AsnDumpByEither, DoesNothingWhileAsnLoggingIsOff) {
    const CapturedOutput output(STDOUT_FILENO);
    settings_.bEnableAsnLog = 0;
    store_.Set("bEnableAsnTrace", "1");
    ScriptedMessage message = TextMessage("text");
    Dump(message);
    EXPECT_EQ(message.printed, 0);
    EXPECT_EQ(message.typeNameAsked, 0);
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    EXPECT_THAT(store_.Asked(), IsEmpty());
    EXPECT_THAT(Diagnostics().Printed(), IsEmpty());
    EXPECT_EQ(output.Text(), "");
    EXPECT_THAT(ListFiles(Path()), IsEmpty());
    settings_.bEnableAsnLog = 1;
    EXPECT_EQ(Repeated(), "") << "the message was printed after all";
}

TEST_P(AsnDumpByEither, FollowsTheSwitchForAsnLoggingAtEachCall) {
    ScriptedMessage message = TextMessage("text");
    int printed = 0;
    for (const uint32_t on : {1u, 2u, 0x80000000u, 0xffffffffu}) {
        settings_.bEnableAsnLog = on;
        Dump(message);
        EXPECT_EQ(message.printed, ++printed) << on;
        settings_.bEnableAsnLog = 0;
        Dump(message);
        EXPECT_EQ(message.printed, printed) << on;
    }
    EXPECT_EQ(logger_.Calls().size(), 4u);
}

// Even a trace with its level off, which repeats the text before it.
TEST_P(AsnDumpByEither, CallsLogOfADerivedLoggerAtItsLevelWithThePlaceOfTheCall) {
    const int level = GetParam() == AsnOperation::kPrintAsn ? -1 : 3;
    for (const unsigned levels : {0b1111u, 0b1000u, 0b0111u, 0u}) {
        settings_.levelSwitches = LevelSwitches(levels);
        RecordingLogger logger("a", "b", "debug", settings_, channels_);
        Printed(TextMessage("the text\n"));
        ScriptedMessage message = TextMessage("the text\n");
        DumpBy(GetParam(), logger, message, "some file.cpp", "A::B", 4294967295u);
        const LoggedCall expected{"some file.cpp", "A::B", 4294967295u, level, "the text\n"};
        EXPECT_TRUE(logger.Calls() == std::vector<LoggedCall>{expected}) << levels;
    }
}

TEST_P(AsnDumpByEither, PrintsOnceWithoutIndentationOrNestingOneFieldALine) {
    ScriptedMessage message(nullptr, [](std::ostream& out) {
        out << "nested";
        indentG = 65535;
    });
    indentG = 3;
    for (int dump = 1; dump < 4; ++dump) {
        Dump(message);
        EXPECT_EQ(message.printed, dump);
        EXPECT_EQ(message.seenIndent, 0);
        EXPECT_EQ(message.seenIndentG, 0);
        EXPECT_EQ(message.seenFormat, 1);
    }
}

// Each replaces the one before, also a longer one, and ends at its first zero byte.
TEST_P(AsnDumpByEither, TakesTextsAsTheyAre) {
    std::string anyByte;
    for (int byte = 1; byte < 256; ++byte) {
        anyByte += static_cast<char>(byte);
    }
    for (const std::string& text : {"a long text, NEPwd = \"secret\", and more"s, "ab"s, ""s, "c"s,
                                    "100 %s %n %d\r\n"s, anyByte, "xyz"s}) {
        EXPECT_EQ(Dumped(TextMessage(text)), text);
        EXPECT_EQ(Dumped(TextMessage(text + "\0cd\0ef"s)), text);
    }
}

TEST_P(AsnDumpByEither, JoinsWhatAMessagePrintsInPieces) {
    const ScriptedMessage message(nullptr, [](std::ostream& out) {
        out << "QAsn {\n" << std::string(2, ' ') << "id = " << 4711 << ", ok = " << true;
        out.put('\n').write("}\n", 2).flush();
    });
    EXPECT_EQ(Dumped(message), "QAsn {\n  id = 4711, ok = 1\n}\n");
}

// A message that goes back in its own text ends where it stands then.
TEST_P(AsnDumpByEither, EndsWhereTheMessageLeavesTheStream) {
    const ScriptedMessage message(nullptr, [](std::ostream& out) {
        out << "hello, world";
        out.seekp(5);
    });
    EXPECT_EQ(Dumped(message), "hello");
}

TEST_F(PrintAsn, IsWrittenOrQueuedWithAllLevelsOffAndMasksNothing) {
    settings_.levelSwitches = LevelSwitches();
    NS_LOG_SERVICE1::Logger logger("a", "b", "debug", settings_, channels_);
    ScriptedMessage message = TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\"\n");
    logger.PrintAsn("f.cpp", "Run", 7, message);
    settings_.outputmode = 1;
    logger.PrintAsn("f.cpp", "Run", 7, message);
    EXPECT_EQ(Channel().Statistics().queued.Get(), 1u);
    EXPECT_EQ(Channel().Statistics().keptBack.Get(), 0u);
    ASSERT_EQ(Records().size(), 1u);
    EXPECT_EQ(Records().front().level, -1);
    EXPECT_EQ(Records().front().detail, "NEPwd = \"abcd\"\n");
    EXPECT_EQ(message.typeNameAsked, 0);
}

TEST_F(LogAsnTrace, MasksTheValuesOfTheKeysOfItsType) {
    for (size_t type = 0; type < kSecretTypes; ++type) {
        const SecretText secret = SecretTextOf(type, "id", "abcd");
        EXPECT_EQ(Traced(TextMessage(secret.type, secret.text)), secret.masked) << secret.type;
    }
    const std::string twoValues = "NEPwd = \"abcd\0ef\" NEPwd = \"gh\""s;
    EXPECT_EQ(Traced(TextMessage("QAsnGetNEInfoRsp", twoValues)), "NEPwd = \"****");
}

TEST_F(LogAsnTrace, MasksNothingInMessagesOfOtherTypes) {
    const std::string text = "NEPwd = \"a\"\nname = b\ncustomer: c\n<FTPPassWord>d</FTPPassWord>\n";
    for (const char* type :
         {static_cast<const char*>(nullptr), "", "QAsnGetNEInfoReq", "qasngetneinforsp",
          "QAsnGetNEInfoRsp ", "QAsnGetPhysicalLocationInfoRsp\n", "NEPwd"}) {
        EXPECT_EQ(Traced(TextMessage(type, text)), text) << (type == nullptr ? "null" : type);
    }
}

// A message may learn its type from what it prints.
TEST_F(LogAsnTrace, AsksOnceForTheTypeNameAfterPrinting) {
    ScriptedMessage message = TextMessage(nullptr, "text");
    int printedBefore = 0;
    message.onTypeNameAsked = [&] { printedBefore = message.printed; };
    logger_.LogAsnTrace("f.cpp", "Run", 7, message);
    EXPECT_EQ(printedBefore, 1);
    EXPECT_EQ(message.typeNameAsked, 1);
}

}  // namespace
