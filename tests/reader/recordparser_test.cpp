#include "format/recordparser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "reader/logtext.h"
#include "reader/scanfile.h"

namespace {

using namespace NS_LOG_READER;
using namespace NS_TEST;
using testing::ElementsAre;

Record ParseText(const std::string& text) {
    Piece piece;
    piece.kind = PieceKind::Frame;
    piece.number = 5;
    piece.offset = 100;
    piece.bytes = text;
    Record record;
    EXPECT_TRUE(ParseRecord(piece, record));
    return record;
}

TEST(RecordParser, FindsEveryField) {
    LogFields fields;
    fields.level = -1;
    fields.detail = " two\nlines ";
    const std::string text = LogFrame(5, fields);
    const Record record = ParseText(text);
    EXPECT_EQ(record.kind, RecordKind::Record);
    EXPECT_EQ(record.stamp, LogStamp(0));
    EXPECT_EQ(record.operation, "op-1");
    EXPECT_EQ(record.operationThread, 12);
    EXPECT_EQ(record.interface, "getNE");
    EXPECT_EQ(record.user, "opr1");
    EXPECT_EQ(record.thread, -7);
    EXPECT_EQ(record.level, -1);
    EXPECT_EQ(record.file, "ne.cpp");
    EXPECT_EQ(record.function, "Query");
    EXPECT_EQ(record.line, 88U);
    EXPECT_EQ(record.detail, " two\nlines ");
    EXPECT_EQ(record.number, 5U);
    EXPECT_EQ(record.offset, 100U);
    EXPECT_EQ(record.bytes, text);
    EXPECT_FALSE(record.torn);
}

TEST(RecordParser, TakesUsersTextsAsTheyAre) {
    for (const char* user : {"", "a, b", "x, T:1, DL:0, File: y", "two\nlines", "UserMsg:u,If:v",
                             ",TopT:3", "Line:4", "\xff\xfe"}) {
        SCOPED_TRACE(user);
        LogFields fields;
        fields.user = user;
        fields.level = 3;
        const std::string text = LogFrame(5, fields);
        const Record record = ParseText(text);
        EXPECT_EQ(record.user, user);
        EXPECT_EQ(record.level, 3);
        EXPECT_EQ(record.thread, -7);
        EXPECT_EQ(record.detail, "text");
    }
}

TEST(RecordParser, FindsWhatStandsInADump) {
    LogFields trigger;
    trigger.level = 0;
    trigger.detail = "it failed\nbadly";
    LogFields first;
    first.detail = "a\n" + LogStamp(3) + ", no record\n\nb";
    LogFields second;
    second.user = "two\nlines";
    second.detail = "";
    const std::string inside = DumpedText(first) + DumpedText(second);
    EXPECT_THAT(RecordDetails(LogDump(1, trigger, inside) + LogFrame(2)),
                ElementsAre("dump:it failed\nbadly", "  " + first.detail, "  ", "text"));
    EXPECT_THAT(RecordDetails(LogDump(1, trigger, "")), ElementsAre("dump:it failed\nbadly"));
}

TEST(RecordParser, KnowsTheDumpThatAnOperatorAskedFor) {
    LogFields command;
    command.level = 3;
    command.detail = "The follow message was dump by maintenance command flushall.";
    EXPECT_THAT(RecordDetails(LogDump(1, command, DumpedText({}))),
                ElementsAre("dump:" + command.detail, "  text"));
}

TEST(RecordParser, TakesADetailThatLooksLikeADumpForADetail) {
    LogFields fields;
    fields.level = 2;
    const auto details = RecordDetails(LogDump(1, fields, DumpedText({})));
    ASSERT_EQ(details.size(), 1U);
    EXPECT_EQ(details[0].substr(0, 8), "text\n***");
}

TEST(RecordParser, ShowsWhatIsLeftOfTornRecords) {
    LogFields error;
    error.level = 0;
    const std::string dump = LogDump(1, error, DumpedText({}) + DumpedText({}));
    EXPECT_THAT(RecordDetails(dump.substr(0, dump.find("***", 300) - 2) + LogFrame(2)),
                ElementsAre("dump:!text", "  text", "  !tex", "text"));
    const std::string frame = LogFrame(3);
    EXPECT_THAT(RecordDetails(frame.substr(0, frame.size() - 1)), ElementsAre("!text"));
    EXPECT_THAT(RecordDetails(frame.substr(0, frame.size() - 7)), ElementsAre("!text"));
    EXPECT_THAT(RecordDetails(LogStamp(3) + ",ab"), ElementsAre("short:!ab"));
    EXPECT_THAT(RecordDetails(frame.substr(0, 50)), ElementsAre());
}

TEST(RecordParser, ReadsShortRecords) {
    EXPECT_THAT(RecordDetails(ShortText(1, "") + ShortText(2, " a,b\nc") + LogFrame(4)),
                ElementsAre("short:", "short: a,b\nc", "text"));
}

}  // namespace
