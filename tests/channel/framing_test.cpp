// How records look in a log file, byte by byte.
#include "channel/framing.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "record/comparerecords.h"

using NS_TEST::OwnedRecord;

namespace NS_LOG_SERVICE1 {
namespace {

using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

std::string Recorded(uint32_t number, std::string_view stamp, const OwnedRecord& record) {
    FrameBuffer buffer;
    AppendRecord(buffer, number, stamp, record.Get());
    return std::string(buffer.Bytes());
}

std::string Opened(uint32_t number, std::string_view stamp, const OwnedRecord& record) {
    FrameBuffer buffer;
    AppendDumpOpening(buffer, number, stamp, record.Get());
    return std::string(buffer.Bytes());
}

std::string Dumped(std::string_view stamp, const OwnedRecord& record) {
    FrameBuffer buffer;
    AppendDumpedRecord(buffer, stamp, record.Get());
    return std::string(buffer.Bytes());
}

TEST(Framing, ShowsARecordUnderItsNumber) {
    EXPECT_EQ(Recorded(1, "STAMP", OwnedRecord()),
              "<1>\nSTAMP, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:1, File: ne.cpp Func:GetNe "
              "Line:77\n Detail: text\n</1>\n\n");
}

TEST(Framing, ShowsTheOpeningOfADump) {
    EXPECT_EQ(Opened(17, "STAMP", OwnedRecord()),
              "<17>\nSTAMP, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:1, File: ne.cpp "
              "Func:GetNe Line:77\n Detail: text\n"
              "*********** Dump filtered debug information begin **********\n");
}

TEST(Framing, ShowsADumpedRecordWithABlankBeforeItsColon) {
    EXPECT_EQ(Dumped("STAMP", OwnedRecord()),
              "STAMP, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:1, File: ne.cpp Func:GetNe "
              "Line:77\n Detail : text\n");
}

TEST(Framing, ShowsTheClosingOfADump) {
    FrameBuffer buffer;
    AppendDumpClosing(buffer, 4294967295u);
    EXPECT_EQ(buffer.Bytes(),
              "*********** Dump filtered debug information end **********\n</4294967295>\n\n");
}

TEST(Framing, ShowsWhenAFileWasCreatedAndClosed) {
    FrameBuffer buffer;
    AppendFileCreated(buffer, "STAMP");
    EXPECT_EQ(buffer.Bytes(), "File create at STAMP.\n");
    AppendFileClosed(buffer, "LATER");
    EXPECT_EQ(buffer.Bytes(), "File create at STAMP.\n\nFile close at LATER.\n");
}

TEST(Framing, ShowsAShortRecordOnOneLine) {
    OwnedRecord record;
    record.level = -2;
    EXPECT_EQ(Recorded(5, "STAMP", record), "STAMP,text\n");
    record.detail = "";
    EXPECT_EQ(Recorded(5, "STAMP", record), "STAMP,\n");
    EXPECT_EQ(Recorded(5, "ST\0AMP"sv, record), "ST,\n");
}

TEST(Framing, ShowsShortRecordsInDumpsLikeAnyOther) {
    OwnedRecord record;
    record.level = -2;
    EXPECT_EQ(Dumped("STAMP", record),
              "STAMP, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:-2, File: ne.cpp Func:GetNe "
              "Line:77\n Detail : text\n");
    EXPECT_EQ(Opened(1, "STAMP", record),
              "<1>\nSTAMP, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:-2, File: ne.cpp "
              "Func:GetNe Line:77\n Detail: text\n"
              "*********** Dump filtered debug information begin **********\n");
}

TEST(Framing, ShowsEveryLevel) {
    OwnedRecord record;
    record.level = -1;
    EXPECT_NE(Recorded(1, "S", record).find(", DL:-1, File"), std::string::npos);
    record.level = -3;
    EXPECT_NE(Recorded(1, "S", record).find(", DL:-3, File"), std::string::npos);
    record.level = 0;
    EXPECT_NE(Recorded(1, "S", record).find(", DL:0, File"), std::string::npos);
    record.level = INT_MIN;
    EXPECT_NE(Recorded(1, "S", record).find(", DL:-2147483648, File"), std::string::npos);
    record.level = INT_MAX;
    EXPECT_NE(Recorded(1, "S", record).find(", DL:2147483647, File"), std::string::npos);
}

TEST(Framing, ShowsTheThreadWithASign) {
    OwnedRecord record;
    record.thread = 0;
    EXPECT_NE(Recorded(1, "S", record).find(", T:0, DL"), std::string::npos);
    record.thread = static_cast<pthread_t>(-1);
    EXPECT_NE(Recorded(1, "S", record).find(", T:-1, DL"), std::string::npos);
    EXPECT_NE(Opened(1, "S", record).find(", T:-1, DL"), std::string::npos);
    EXPECT_NE(Dumped("S", record).find(", T:-1, DL"), std::string::npos);
    record.thread = 0x8000000000000000;
    EXPECT_NE(Recorded(1, "S", record).find(", T:-9223372036854775808, DL"), std::string::npos);
    record.thread = 140737353926400;
    EXPECT_NE(Recorded(1, "S", record).find(", T:140737353926400, DL"), std::string::npos);
}

TEST(Framing, ShowsTheLineWithoutASign) {
    OwnedRecord record;
    record.line = UINT_MAX;
    EXPECT_NE(Recorded(1, "S", record).find(" Line:4294967295\n"), std::string::npos);
    record.line = 0;
    EXPECT_NE(Recorded(1, "S", record).find(" Line:0\n"), std::string::npos);
}

TEST(Framing, ShowsEveryNumberAtBothEnds) {
    for (const uint32_t number : {0u, 9u, 10u, 99u, 100u, 2147483648u, 4294967295u}) {
        const std::string text = std::to_string(number);
        const std::string frame = Recorded(number, "S", OwnedRecord());
        EXPECT_EQ(frame.find("<" + text + ">\nS, "), 0u);
        EXPECT_EQ(frame.rfind("\n</" + text + ">\n\n"), frame.size() - text.size() - 6);
    }
    EXPECT_EQ(Recorded(static_cast<uint32_t>(uint64_t{4294967297}), "S", OwnedRecord()).find("<1>"),
              0u);
}

TEST(Framing, ShowsEmptyTextsAsNothing) {
    OwnedRecord record;
    record.file = record.function = record.detail = record.context = "";
    record.line = 0;
    EXPECT_EQ(Recorded(1, "", record),
              "<1>\n, , T:4242, DL:1, File:  Func: Line:0\n Detail: \n</1>\n\n");
    EXPECT_EQ(Dumped("", record), ", , T:4242, DL:1, File:  Func: Line:0\n Detail : \n");
}

TEST(Framing, EndsEachTextAtItsFirstZeroByte) {
    OwnedRecord record;
    record.context = "c\0C"s;
    record.file = "f\0F"s;
    record.function = "g\0G"s;
    record.detail = "d\0D\0"s;
    const std::string heading = "s, c, T:4242, DL:1, File: f Func:g Line:77\n";
    EXPECT_EQ(Recorded(1, "s\0S"sv, record), "<1>\n" + heading + " Detail: d\n</1>\n\n");
    EXPECT_EQ(Opened(1, "s\0S"sv, record),
              "<1>\n" + heading +
                  " Detail: d\n*********** Dump filtered debug information begin **********\n");
    EXPECT_EQ(Dumped("s\0S"sv, record), heading + " Detail : d\n");
    record.level = -2;
    EXPECT_EQ(Recorded(1, "s\0S"sv, record), "s,d\n");
    record.level = 1;
    record.context = record.file = record.function = record.detail = "\0x"s;
    EXPECT_EQ(Recorded(1, "s", record),
              "<1>\ns, , T:4242, DL:1, File:  Func: Line:77\n Detail: \n</1>\n\n");
}

TEST(Framing, DoesNotInterpretTexts) {
    OwnedRecord record;
    record.context = "%s";
    record.file = "%n";
    record.function = "%d";
    record.detail = "100% \xff\xfe\r\n</1>\n\n\t";
    EXPECT_EQ(Recorded(1, "%u", record),
              "<1>\n%u, %s, T:4242, DL:1, File: %n Func:%d Line:77\n Detail: 100% \xff\xfe\r\n"
              "</1>\n\n\t\n</1>\n\n");
}

TEST(Framing, HasNoLengthLimit) {
    OwnedRecord record;
    record.context.assign(70000, 'c');
    record.file.assign(5000, 'f');
    record.function.assign(5000, 'g');
    record.detail.assign(3000000, 'd');
    const std::string heading = "s, " + record.context + ", T:4242, DL:1, File: " + record.file +
                                " Func:" + record.function + " Line:77\n";
    EXPECT_TRUE(Recorded(1, "s", record) ==
                "<1>\n" + heading + " Detail: " + record.detail + "\n</1>\n\n");
    EXPECT_TRUE(Dumped("s", record) == heading + " Detail : " + record.detail + "\n");
}

TEST(Framing, AppendsToWhatIsThere) {
    FrameBuffer buffer;
    OwnedRecord record;
    record.level = -2;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        record.detail = std::to_string(i);
        AppendRecord(buffer, 1, "S", record.Get());
        expected += "S," + record.detail + "\n";
    }
    EXPECT_EQ(buffer.Bytes(), expected);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
