// What the dump of an ASN message puts into the log.
#include <gtest/gtest.h>

#include <string>

#include "logger/asndumpfixture.h"
#include "support/capturedoutput.h"
#include "support/logfileparser.h"

namespace {

using NS_LOG_SERVICE1::LevelSwitches;
using NS_TEST::ScriptedMessage;
using NS_TEST::TextMessage;
using testing::IsEmpty;

class AsnDumpByEither : public NS_TEST::EachAsnOperation {};
QV_FOR_EACH_ASN_OPERATION(AsnDumpByEither);

using PrintAsn = NS_TEST::AsnDumpTest;
using LogAsnTrace = NS_TEST::AsnDumpTest;

TEST_P(AsnDumpByEither, DoesNothingWhileAsnLoggingIsOff) {
    const NS_TEST::CapturedOutput output(STDOUT_FILENO);
    settings_.bEnableAsnLog = 0;
    store_.Set("bEnableAsnTrace", "1");
    ScriptedMessage message = TextMessage("text");
    DumpWith(logger_, message);
    EXPECT_EQ(message.printed, 0);
    EXPECT_EQ(message.typeNameAsked, 0);
    EXPECT_THAT(logger_.Calls(), IsEmpty());
    EXPECT_THAT(store_.Asked(), IsEmpty());
    EXPECT_THAT(Proxy().Printed(), IsEmpty());
    EXPECT_EQ(output.Text(), "");
    EXPECT_THAT(NS_TEST::ListFiles(Path()), IsEmpty());
    settings_.bEnableAsnLog = 1;
    EXPECT_EQ(Repeated(), "") << "the message was printed after all";
}

TEST_P(AsnDumpByEither, FollowsTheSwitchForAsnLoggingAtEachCall) {
    ScriptedMessage message = TextMessage("text");
    for (const uint32_t on : {1u, 2u, 0x80000000u, 0xffffffffu}) {
        const int before = message.printed;
        settings_.bEnableAsnLog = on;
        DumpWith(logger_, message);
        EXPECT_EQ(message.printed, before + 1) << on;
        settings_.bEnableAsnLog = 0;
        DumpWith(logger_, message);
        EXPECT_EQ(message.printed, before + 1) << on;
    }
    EXPECT_EQ(logger_.Calls().size(), 4u);
}

TEST_P(AsnDumpByEither, CallsLogOfADerivedLoggerWithThePlaceOfTheCall) {
    ScriptedMessage message = TextMessage("the text\n");
    if (GetParam() == NS_TEST::AsnOperation::kPrintAsn) {
        logger_.PrintAsn("some file.cpp", "A::B", 4294967295u, message);
    } else {
        logger_.LogAsnTrace("some file.cpp", "A::B", 4294967295u, message);
    }
    ASSERT_EQ(logger_.Calls().size(), 1u);
    const NS_TEST::LoggedCall call = logger_.Calls().front();
    EXPECT_EQ(call.file, "some file.cpp");
    EXPECT_EQ(call.function, "A::B");
    EXPECT_EQ(call.line, 4294967295u);
    EXPECT_EQ(call.text, "the text\n");
}

TEST_P(AsnDumpByEither, PrintsOnceWithoutIndentationOneFieldALine) {
    ScriptedMessage message = TextMessage("text");
    DumpWith(logger_, message);
    EXPECT_EQ(message.printed, 1);
    EXPECT_EQ(message.seenIndent, 0);
    EXPECT_EQ(message.seenFormat, 1);
}

TEST_P(AsnDumpByEither, StartsEachMessageWithoutNesting) {
    ScriptedMessage message(nullptr, [](std::ostream& out) {
        out << "nested";
        indentG = 65535;
    });
    indentG = 3;
    for (int i = 0; i < 3; ++i) {
        DumpWith(logger_, message);
        EXPECT_EQ(message.seenIndentG, 0) << i;
    }
}

TEST_P(AsnDumpByEither, ReplacesALongerTextWhole) {
    EXPECT_EQ(Dumped(TextMessage("a long text, NEPwd = \"secret\", and more")),
              "a long text, NEPwd = \"secret\", and more");
    EXPECT_EQ(Dumped(TextMessage("ab")), "ab");
    EXPECT_EQ(Dumped(TextMessage("")), "");
    EXPECT_EQ(Dumped(TextMessage("c")), "c");
}

TEST_P(AsnDumpByEither, EndsAtTheFirstZeroByte) {
    EXPECT_EQ(Dumped(TextMessage(std::string("ab\0cd\0ef", 8))), "ab");
    EXPECT_EQ(Dumped(TextMessage(std::string("\0cd", 3))), "");
    EXPECT_EQ(Dumped(TextMessage("xyz")), "xyz");
}

TEST_P(AsnDumpByEither, TakesAllOtherBytesAsTheyAre) {
    std::string text;
    for (int byte = 1; byte < 256; ++byte) {
        text += static_cast<char>(byte);
    }
    EXPECT_EQ(Dumped(TextMessage(text)), text);
    EXPECT_EQ(Dumped(TextMessage("100 %s %n %d\r\n")), "100 %s %n %d\r\n");
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

TEST_F(PrintAsn, LogsAtTheLevelThatNoSwitchSuppresses) {
    ScriptedMessage message = TextMessage("text");
    for (const unsigned levels : {0b1111u, 0b0111u, 0b1000u, 0u}) {
        settings_.levelSwitches = LevelSwitches(levels);
        NS_TEST::RecordingLogger logger("a", "b", "debug", settings_, channels_);
        logger.PrintAsn("f.cpp", "Run", 7, message);
        ASSERT_EQ(logger.Calls().size(), 1u);
        EXPECT_EQ(logger.Calls().front().level, -1);
        EXPECT_EQ(logger.Calls().front().text, "text");
    }
}

TEST_F(PrintAsn, IsWrittenAtOnceWithAllLevelsOff) {
    settings_.levelSwitches = LevelSwitches();
    NS_LOG_SERVICE1::Logger logger("a", "b", "debug", settings_, channels_);
    ScriptedMessage message = TextMessage("text\n");
    logger.PrintAsn("f.cpp", "Run", 7, message);
    const auto records =
        NS_TEST::OfKind(NS_TEST::ParseLogDirectory(Path("log")), NS_TEST::ParsedPiece::RECORD);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records.front().record.level, -1);
    EXPECT_EQ(records.front().record.detail, "text\n");
    EXPECT_EQ(Channel().Statistics().keptBack.Get(), 0u);
}

TEST_F(PrintAsn, IsQueuedWhileOutputIsQueued) {
    settings_.outputmode = 1;
    NS_LOG_SERVICE1::Logger logger("a", "b", "debug", settings_, channels_);
    ScriptedMessage message = TextMessage("text");
    logger.PrintAsn("f.cpp", "Run", 7, message);
    EXPECT_THAT(NS_TEST::ListFiles(Path("log")), IsEmpty());
    EXPECT_EQ(Channel().Statistics().queued.Get(), 1u);
}

TEST_F(PrintAsn, MasksNothing) {
    ScriptedMessage message = TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\"\n");
    logger_.PrintAsn("f.cpp", "Run", 7, message);
    EXPECT_EQ(logger_.LastText(), "NEPwd = \"abcd\"\n");
    EXPECT_EQ(message.typeNameAsked, 0);
}

TEST_F(LogAsnTrace, LogsAtLevelThree) {
    Traced(TextMessage("text"));
    ASSERT_EQ(logger_.Calls().size(), 1u);
    EXPECT_EQ(logger_.Calls().front().level, 3);
}

TEST_F(LogAsnTrace, MasksAQuotedPasswordOfFourCharacters) {
    EXPECT_EQ(Traced(TextMessage("QAsnGetNEInfoRsp", "id = 1\nNEPwd = \"abcd\"\nend = \"x\"\n")),
              "id = 1\nNEPwd = \"****\"\nend = \"x\"\n");
    EXPECT_EQ(Traced(TextMessage("QAsnCreateNERpt", "NEPwd = \"abcd\"\n")), "NEPwd = \"****\"\n");
}

TEST_F(LogAsnTrace, MasksTheNextQuotesEvenOnALaterLine) {
    EXPECT_EQ(Traced(TextMessage("QAsnGetNEInfoRsp", "NEPwd = none\nid = 1\nend = \"xyz\"\n")),
              "NEPwd = none\nid = 1\nend = \"***\"\n");
}

TEST_F(LogAsnTrace, MasksALocationToTheEndOfItsLine) {
    EXPECT_EQ(Traced(TextMessage("QAsnGetPhysicalLocationInfoRsp",
                                 "rack = 1\ncabinetName = \"C1\"\nrack = 2\n")),
              "rack = 1\ncabinetName*******\nrack = 2\n");
    EXPECT_EQ(Traced(TextMessage("QAsnGetPhysicalLocationInfoRsp", "cabinetName= \"C1\"")),
              "cabinetName******");
}

TEST_F(LogAsnTrace, MasksACustomer) {
    for (const char* typeName : {"QAsnGetWDMSNCsByIdxsRsp", "QAsnGetSNCsByIdxsRsp",
                                 "QAsnGetSNCsByCIDsRsp", "QAsnGetWDMSNCsByCIDsRsp"}) {
        EXPECT_EQ(Traced(TextMessage(typeName, "customer: Smith\nrate\n")),
                  "customer:******\nrate\n");
    }
}

TEST_F(LogAsnTrace, MasksATaggedPassword) {
    EXPECT_EQ(Traced(TextMessage("AsneVOXScheduleCreateReq",
                                 "<a>b</a><FTPPassWord>abc</FTPPassWord><c>d</c>")),
              "<a>b</a><FTPPassWord>***</FTPPassWord><c>d</c>");
}

TEST_F(LogAsnTrace, LeavesATagWithoutItsEndAlone) {
    EXPECT_EQ(Traced(TextMessage("AsneVOXScheduleCreateReq", "<FTPPassWord>abc</FTPPassword>")),
              "<FTPPassWord>abc</FTPPassword>");
}

TEST_F(LogAsnTrace, MasksNothingInAMessageWithoutATypeName) {
    ScriptedMessage message = TextMessage(
        nullptr, "NEPwd = \"a\"\nname = b\ncustomer: c\n<FTPPassWord>d</FTPPassWord>\n");
    logger_.LogAsnTrace("f.cpp", "Run", 7, message);
    EXPECT_EQ(logger_.LastText(),
              "NEPwd = \"a\"\nname = b\ncustomer: c\n<FTPPassWord>d</FTPPassWord>\n");
    EXPECT_EQ(message.typeNameAsked, 1);
}

TEST_F(LogAsnTrace, MasksNothingInMessagesOfOtherTypes) {
    for (const char* typeName : {"", "QAsnGetNEInfoReq", "qasngetneinforsp", "QAsnGetNEInfoRsp ",
                                 "QAsnGetPhysicalLocationInfoRsp\n", "NEPwd"}) {
        EXPECT_EQ(Traced(TextMessage(typeName, "NEPwd = \"a\"\nname = b\n")),
                  "NEPwd = \"a\"\nname = b\n")
            << typeName;
    }
}

TEST_F(LogAsnTrace, MasksOnlyTheKeysOfTheType) {
    EXPECT_EQ(Traced(TextMessage("QAsnGetNEInfoRsp", "name = \"b\"\nNEPwd = \"a\"\n")),
              "name = \"b\"\nNEPwd = \"*\"\n");
    EXPECT_EQ(Traced(TextMessage("QAsnGetSNCsByIdxsRsp", "name = \"b\"\nNEPwd = \"a\"\n")),
              "name = \"b\"\nNEPwd = \"a\"\n");
}

// A message may learn its type from what it prints.
TEST_F(LogAsnTrace, AsksForTheTypeNameAfterPrinting) {
    ScriptedMessage message = TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\"");
    int printedBefore = 0;
    message.onTypeNameAsked = [&] { printedBefore = message.printed; };
    logger_.LogAsnTrace("f.cpp", "Run", 7, message);
    EXPECT_EQ(printedBefore, 1);
    EXPECT_EQ(message.typeNameAsked, 1);
}

TEST_F(LogAsnTrace, MasksUpToTheFirstZeroByteOnly) {
    EXPECT_EQ(Traced(TextMessage("QAsnGetNEInfoRsp",
                                 std::string("NEPwd = \"abcd\0ef\" NEPwd = \"gh\"", 29))),
              "NEPwd = \"****");
}

TEST_F(LogAsnTrace, IsWrittenMasked) {
    NS_LOG_SERVICE1::Logger logger("a", "b", "debug", settings_, channels_);
    ScriptedMessage message = TextMessage("QAsnGetNEInfoRsp", "NEPwd = \"abcd\"");
    logger.LogAsnTrace("f.cpp", "Run", 7, message);
    const auto records =
        NS_TEST::OfKind(NS_TEST::ParseLogDirectory(Path("log")), NS_TEST::ParsedPiece::RECORD);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records.front().record.level, 3);
    EXPECT_EQ(records.front().record.detail, "NEPwd = \"****\"");
}

}  // namespace
