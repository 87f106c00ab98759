// How records look in a log file, byte by byte, and the buffer in which they are put together.
#include "channel/framing.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>

#include "channel/framebuffer.h"
#include "support/records.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;
using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

constexpr char kDumpBegins[] = "*********** Dump filtered debug information begin **********\n";

// A stamp whose time is this text, with the thread of the record.
struct Stamp {
    Stamp(std::string_view text, const OwnedRecord& record)
        : time(text), thread(std::to_string(static_cast<long>(record.thread))) {}
    operator FrameStamp() const { return {time, thread}; }

    std::string_view time;
    std::string thread;
};

// The record by itself, which is made in one piece or numbered later.
std::string Recorded(const OwnedRecord& record, std::string_view stamp = "S", uint32_t number = 1) {
    FrameBuffer buffer;
    const std::string digits = std::to_string(number);
    AppendRecord(buffer, digits, Stamp(stamp, record), record.Get());
    FrameBuffer memory;
    UnnumberedFrame frame(memory, Stamp(stamp, record), record.Get());
    EXPECT_EQ(frame.WithNumber(digits), buffer.Bytes());
    return std::string(buffer.Bytes());
}

std::string Opened(const OwnedRecord& record, std::string_view stamp = "S", uint32_t number = 1) {
    FrameBuffer buffer;
    AppendDumpOpening(buffer, std::to_string(number), Stamp(stamp, record), record.Get());
    return std::string(buffer.Bytes());
}

std::string Dumped(const OwnedRecord& record, std::string_view stamp = "S") {
    FrameBuffer buffer;
    AppendDumpedRecord(buffer, Stamp(stamp, record), record.Get());
    return std::string(buffer.Bytes());
}

// The record is shown with this heading and this detail, wherever it stands.
void ExpectShown(const OwnedRecord& record, std::string_view stamp, const std::string& heading,
                 const std::string& detail) {
    EXPECT_EQ(Recorded(record, stamp), "<1>\n" + heading + "\n Detail: " + detail + "\n</1>\n\n");
    EXPECT_EQ(Opened(record, stamp),
              "<1>\n" + heading + "\n Detail: " + detail + "\n" + kDumpBegins);
    // A dumped record has a blank before its colon.
    EXPECT_EQ(Dumped(record, stamp), heading + "\n Detail : " + detail + "\n");
}

TEST(Framing, ShowsARecordOnItsOwnAndInADump) {
    ExpectShown(OwnedRecord(), "STAMP",
                "STAMP, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:1, File: ne.cpp Func:GetNe "
                "Line:77",
                "text");
}

TEST(Framing, ShowsTheClosingOfADumpAndTheEndsOfAFile) {
    FrameBuffer buffer;
    AppendDumpClosing(buffer, "4294967295");
    AppendFileCreated(buffer, "STAMP");
    AppendFileClosed(buffer, "LATER");
    EXPECT_EQ(buffer.Bytes(),
              "*********** Dump filtered debug information end **********\n</4294967295>\n\n"
              "File create at STAMP.\n"
              "\nFile close at LATER.\n");
}

TEST(Framing, ShowsAShortRecordOnOneLineButInDumpsLikeAnyOther) {
    OwnedRecord record;
    record.level = -2;
    const std::string heading =
        "S, U,TopT:12,If:getNE,UserMsg:opr1, T:4242, DL:-2, File: ne.cpp Func:GetNe Line:77\n";
    EXPECT_EQ(Dumped(record), heading + " Detail : text\n");
    EXPECT_EQ(Opened(record), "<1>\n" + heading + " Detail: text\n" + kDumpBegins);
    EXPECT_EQ(Recorded(record, "STAMP"), "STAMP,text\n");
    record.detail = "";
    EXPECT_EQ(Recorded(record, "STAMP"), "STAMP,\n");
    record.detail = "d\0D"s;
    EXPECT_EQ(Recorded(record, "ST\0AMP"sv), "ST,d\n");
}

// The thread has a sign, the line has none.
TEST(Framing, ShowsEveryValueOfTheNumbers) {
    struct Numbers {
        int32_t level;
        uint64_t thread;
        uint32_t line;
        std::string shown;
    };
    for (const Numbers& c :
         {Numbers{-1, 0, 0, "T:0, DL:-1, File: ne.cpp Func:GetNe Line:0"},
          Numbers{-3, UINT64_MAX, UINT_MAX, "T:-1, DL:-3, File: ne.cpp Func:GetNe Line:4294967295"},
          Numbers{0, 140737353926400, 9, "T:140737353926400, DL:0, File: ne.cpp Func:GetNe Line:9"},
          Numbers{INT_MIN, uint64_t{1} << 63, 10,
                  "T:-9223372036854775808, DL:-2147483648, File: ne.cpp Func:GetNe Line:10"},
          Numbers{INT_MAX, 7, 99, "T:7, DL:2147483647, File: ne.cpp Func:GetNe Line:99"}}) {
        OwnedRecord record;
        record.level = c.level;
        record.thread = c.thread;
        record.line = c.line;
        ExpectShown(record, "S", "S, U,TopT:12,If:getNE,UserMsg:opr1, " + c.shown, "text");
    }
}

TEST(Framing, ShowsEveryNumberAtBothEnds) {
    for (const uint32_t number : {0u, 9u, 10u, 99u, 100u, 2147483648u, 4294967295u}) {
        const std::string text = std::to_string(number);
        const std::string frame = Recorded(OwnedRecord(), "S", number);
        EXPECT_EQ(frame.find("<" + text + ">\nS, "), 0u);
        EXPECT_EQ(frame.rfind("\n</" + text + ">\n\n"), frame.size() - text.size() - 6);
        EXPECT_EQ(Opened(OwnedRecord(), "S", number).find("<" + text + ">\nS, "), 0u);
    }
}

TEST(UnnumberedFrame, TakesOneNumberAfterTheOther) {
    const OwnedRecord record;
    FrameBuffer memory;
    memory.Append("what was there before");
    UnnumberedFrame frame(memory, {"S", "4242"}, record.Get());
    for (const uint32_t number : {7u, 4294967295u, 0u, 12345u}) {
        EXPECT_EQ(frame.WithNumber(std::to_string(number)), Recorded(record, "S", number));
    }
    EXPECT_FALSE(frame.IsEmpty());
    EXPECT_TRUE(UnnumberedFrame().IsEmpty());
}

TEST(FrameStamps, ShowTheTimeAndTheThreadOfEachRecord) {
    FrameStamps stamps;
    for (const uint64_t thread : {uint64_t{4242}, uint64_t{4242}, uint64_t{4243}, UINT64_MAX}) {
        OwnedRecord record;
        record.thread = thread;
        std::string time;
        NS_BUNDLEMGR1::GetZoneTimeStamp(record.time, time);
        const FrameStamp stamp = stamps.Of(record.Get());
        EXPECT_EQ(stamp.time, time);
        EXPECT_EQ(stamp.thread, std::to_string(static_cast<long>(thread)));
    }
}

TEST(Framing, EndsEachTextAtItsFirstZeroByte) {
    OwnedRecord record;
    record.context = "c\0C"s;
    record.file = "f\0F"s;
    record.function = "g\0G"s;
    record.detail = "d\0D\0"s;
    ExpectShown(record, "s\0S"sv, "s, c, T:4242, DL:1, File: f Func:g Line:77", "d");
    for (const std::string& nothing : {""s, "\0x"s}) {
        record.context = record.file = record.function = record.detail = nothing;
        ExpectShown(record, nothing, ", , T:4242, DL:1, File:  Func: Line:77", "");
    }
}

TEST(Framing, DoesNotInterpretTexts) {
    OwnedRecord record;
    record.context = "%s";
    record.file = "%n";
    record.function = "%d";
    record.detail = "100% \xff\xfe\r\n</1>\n\n\t";
    ExpectShown(record, "%u", "%u, %s, T:4242, DL:1, File: %n Func:%d Line:77", record.detail);
}

TEST(Framing, HasNoLengthLimit) {
    OwnedRecord record;
    record.context.assign(70000, 'c');
    record.file.assign(5000, 'f');
    record.function.assign(5000, 'g');
    record.detail.assign(3000000, 'd');
    ExpectShown(record, "S",
                "S, " + record.context + ", T:4242, DL:1, File: " + record.file +
                    " Func:" + record.function + " Line:77",
                record.detail);
}

TEST(Framing, AppendsToWhatIsThere) {
    FrameBuffer buffer;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        AppendRecord(buffer, "1", {"S", "4242"}, WithDetail(std::to_string(i), -2).Get());
        expected += "S," + std::to_string(i) + "\n";
    }
    EXPECT_EQ(buffer.Bytes(), expected);
}

// Reserves more than is filled.
void Append(FrameBuffer& buffer, const std::string& text, size_t spare) {
    char* const end = buffer.Reserve(text.size() + spare);
    std::memcpy(end, text.data(), text.size());
    buffer.Commit(end + text.size());
}

TEST(FrameBuffer, KeepsWhatWasCommittedAndForgetsWhatWasReservedOnly) {
    FrameBuffer buffer;
    EXPECT_EQ(buffer.Size(), 0u);
    EXPECT_EQ(buffer.Bytes(), "");
    Append(buffer, "abc", 0);
    std::memset(buffer.Reserve(50), 'x', 50);
    EXPECT_EQ(buffer.Bytes(), "abc");
    Append(buffer, "def", 1000);
    EXPECT_EQ(buffer.Bytes(), "abcdef");
    EXPECT_EQ(buffer.Size(), 6u);
}

TEST(FrameBuffer, GrowsAndKeepsItsBytes) {
    FrameBuffer buffer;
    std::string expected;
    for (size_t i = 1; i < 3000; ++i) {
        const std::string piece(i % 701, static_cast<char>('a' + i % 26));
        Append(buffer, piece, i % 13);
        expected += piece;
    }
    EXPECT_TRUE(buffer.Bytes() == expected);
}

TEST(FrameBuffer, CanBeClearedAgainAndAgainWhateverItHeld) {
    FrameBuffer buffer;
    for (const size_t size : {0u, 3u, 20000000u, 5u, 1000u}) {
        buffer.Clear();
        EXPECT_EQ(buffer.Bytes(), "");
        Append(buffer, "abc", 0);
        Append(buffer, std::string(size, 'h'), 100);
        EXPECT_TRUE(buffer.Bytes() == "abc" + std::string(size, 'h'));
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
