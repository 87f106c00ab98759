#include "format/recordparser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>

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

// Of these many headers hold a comma or a newline more than usual, and numbers of any size.
TEST(RecordParser, ReadsBackWhateverTheFieldsHold) {
    std::mt19937 random(3);
    const auto text = [&](std::initializer_list<const char*> parts) {
        std::string result;
        for (unsigned count = random() % 4; count > 0; --count) {
            result += parts.begin()[random() % parts.size()];
        }
        return result;
    };
    const auto number = [&](int64_t least, int64_t most) {
        const int64_t values[] = {least, most, 0, 1, 12345678, 123456789};
        return random() % 2 == 0 ? values[random() % 6]
                                 : static_cast<int64_t>(random() % (uint64_t{1} << 31));
    };
    using Long = std::numeric_limits<int64_t>;
    for (int i = 0; i < 20000; ++i) {
        const std::string operation = text({"a", "-", "77", "b c"});
        const std::string interface = text({"getNE", "x.y", "=", " "});
        const std::string user =
            text({"opr", ",", "\n", ", T:1", ", DL:2", ", File: f", "@", ",If:"});
        const std::string function = text({"~A", "operator", "()", "<int>"});
        const int64_t top = number(Long::min(), Long::max());
        const int64_t thread = number(Long::min(), Long::max());
        const int64_t level = number(-2147483648, 2147483647);
        const int64_t line = number(0, 4294967295);
        const std::string detail = text({"d", "\n", ",", "\n Detail: "});
        const std::string frame =
            "<5>\n" + LogStamp(i) + ", " + operation + ",TopT:" + std::to_string(top) +
            ",If:" + interface + ",UserMsg:" + user + ", T:" + std::to_string(thread) +
            ", DL:" + std::to_string(level) + ", File: ne.cpp Func:" + function +
            " Line:" + std::to_string(line) + "\n Detail: " + detail + "\n</5>\n\n";
        SCOPED_TRACE(frame);
        const Record record = ParseText(frame);
        ASSERT_EQ(record.operation, operation);
        ASSERT_EQ(record.operationThread, top);
        ASSERT_EQ(record.interface, interface);
        ASSERT_EQ(record.user, user);
        ASSERT_EQ(record.thread, thread);
        ASSERT_EQ(record.level, level);
        ASSERT_EQ(record.file, "ne.cpp");
        ASSERT_EQ(record.function, function);
        ASSERT_EQ(record.line, line);
        ASSERT_EQ(record.detail, detail);
        ASSERT_EQ(record.stamp, LogStamp(i));
    }
}

}  // namespace
