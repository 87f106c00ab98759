// What the parser of log files takes apart, and what it objects to.
#include "support/logfileparser.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/files.h"
#include "support/temporarydirectory.h"

namespace NS_TEST {
namespace {

const std::string kStamp = "2024-03-05T14:07:09.123456-01:30";
const std::string kCreated = "File create at " + kStamp + ".\n";
const std::string kClosed = "\nFile close at " + kStamp + ".\n";
const std::string kShort = kStamp + ",short, but whole\n";
const std::string kRecord = "<17>\n" + kStamp +
                            ", U,TopT:1,If:get,UserMsg:me, T:-42, DL:1, File: a.cpp Func:Run "
                            "Line:7\n Detail: one\n\ntwo</17>\n</17>\n\n";
const std::string kDump =
    "<18>\n" + kStamp +
    ", , T:42, DL:0, File: b.cpp Func:Stop Line:0\n Detail: it broke"
    "\n*********** Dump filtered debug information begin **********\n" +
    kStamp + ", C, T:1, DL:3, File: c.cpp Func:Try Line:4294967295\n Detail : three\n four\n" +
    kStamp +
    ", , T:2, DL:-7, File:  Func: Line:8\n Detail : \n"
    "*********** Dump filtered debug information end **********\n</18>\n\n";
const std::vector<std::string> kPieces = {kCreated, kShort, kRecord, kDump, kClosed};

std::string Whole() {
    std::string text;
    for (const std::string& piece : kPieces) {
        text += piece;
    }
    return text;
}

bool IsRefused(const std::string& text) {
    try {
        ParseLogText(text);
    } catch (const std::runtime_error&) {
        return true;
    }
    return false;
}

TEST(LogText, IsTakenApartIntoItsPieces) {
    const auto pieces = ParseLogText(Whole());
    ASSERT_EQ(pieces.size(), 5u);
    EXPECT_EQ(pieces[0].kind, ParsedPiece::FILE_CREATED);
    EXPECT_EQ(pieces[0].record.stamp, kStamp);
    EXPECT_EQ(pieces[1].kind, ParsedPiece::SHORT_RECORD);
    EXPECT_EQ(pieces[1].record.stamp, kStamp);
    EXPECT_EQ(pieces[1].record.level, -2);
    EXPECT_EQ(pieces[1].record.detail, "short, but whole");
    EXPECT_EQ(pieces[2].kind, ParsedPiece::RECORD);
    EXPECT_EQ(pieces[3].kind, ParsedPiece::DUMP);
    EXPECT_EQ(pieces[4].kind, ParsedPiece::FILE_CLOSED);
    EXPECT_EQ(pieces[4].record.stamp, kStamp);
    EXPECT_TRUE(ParseLogText("").empty());
}

TEST(LogText, ShowsEveryFieldOfARecord) {
    const ParsedPiece piece = ParseLogText(kRecord).at(0);
    EXPECT_EQ(piece.number, 17u);
    EXPECT_EQ(piece.record.stamp, kStamp);
    EXPECT_EQ(piece.record.context, "U,TopT:1,If:get,UserMsg:me");
    EXPECT_EQ(piece.record.thread, "-42");
    EXPECT_EQ(piece.record.level, 1);
    EXPECT_EQ(piece.record.file, "a.cpp");
    EXPECT_EQ(piece.record.function, "Run");
    EXPECT_EQ(piece.record.line, "7");
    EXPECT_EQ(piece.record.detail, "one\n\ntwo</17>");
    EXPECT_TRUE(piece.dumped.empty());
}

TEST(LogText, ShowsWhatStandsInADump) {
    const ParsedPiece piece = ParseLogText(kDump).at(0);
    EXPECT_EQ(piece.number, 18u);
    EXPECT_EQ(piece.record.detail, "it broke");
    ASSERT_EQ(piece.dumped.size(), 2u);
    EXPECT_EQ(piece.dumped[0].context, "C");
    EXPECT_EQ(piece.dumped[0].level, 3);
    EXPECT_EQ(piece.dumped[0].line, "4294967295");
    EXPECT_EQ(piece.dumped[0].detail, "three\n four");
    EXPECT_EQ(piece.dumped[1].level, -7);
    EXPECT_EQ(piece.dumped[1].detail, "");
}

TEST(LogText, IsRefusedWhereverItIsTorn) {
    std::string whole;
    for (const std::string& piece : kPieces) {
        EXPECT_FALSE(IsRefused(whole));
        for (size_t size = 1; size < piece.size(); ++size) {
            EXPECT_TRUE(IsRefused(whole + piece.substr(0, size))) << size << " of " << piece;
            EXPECT_TRUE(IsRefused(piece.substr(size) + kClosed)) << size << " of " << piece;
        }
        EXPECT_TRUE(IsRefused(whole + "x" + piece)) << piece;
        whole += piece;
    }
    EXPECT_FALSE(IsRefused(whole));
    EXPECT_TRUE(IsRefused(whole + "\n"));
}

// Each of these stands once in the text, and makes it one that was never written.
TEST(LogText, IsRefusedWhenAFieldIsNotWhatIsPrinted) {
    const std::vector<std::pair<std::string, std::string>> changes = {
        {"<17>\n", "<017>\n"},
        {"<17>\n", "<+17>\n"},
        {"<17>\n", "<18446744073709551633>\n"},
        {"\n</17>\n\n", "\n</18>\n\n"},
        {", T:-42", ",T:-42"},
        {"DL:1,", "DL:1x,"},
        {"DL:1,", "DL: 1,"},
        {"DL:1,", "DL:4294967297,"},
        {"DL:-7,", "DL:,"},
        {"Line:7\n", "Line:seven\n"},
        {"Line:7\n", "Line:7 \n"},
        {"Line:7\n", "Line:-7\n"},
        {"Line:8\n", "Line:\n"},
        {"\n Detail: one", "\n\n Detail: one"},
        {"\n Detail : three", "\n Detail: three"},
        {"\n four\n", "\n four\n</18>\n\n"},
        {"begin **********\n", "begin **********\n\n"},
        {"end **********\n", "end **********\n\n"},
        {"information end", "information END"},
        {"File close at " + kStamp, "File close at 2024-03-05 14:07:09.123456-01:30"},
    };
    for (const auto& [from, to] : changes) {
        std::string text = Whole();
        const size_t place = text.find(from);
        ASSERT_NE(place, std::string::npos) << from;
        ASSERT_EQ(text.find(from, place + 1), std::string::npos) << from;
        text.replace(place, from.size(), to);
        EXPECT_TRUE(IsRefused(text)) << to;
    }
}

// A detail that is the line with which a dump begins could not be told from a dump.
TEST(LogText, IsRefusedWhenADumpBeginsAndHasNoEnd) {
    EXPECT_TRUE(
        IsRefused("<1>\n" + kStamp +
                  ", , T:1, DL:1, File: a Func:b Line:7\n Detail: "
                  "\n*********** Dump filtered debug information begin **********\n</1>\n\n"));
}

class ClosedLogFile : public DirectoryTest {
  protected:
    std::vector<ParsedPiece> Parse(const std::string& text) const {
        WriteFile(Path("file"), text);
        return ParseClosedLogFile(Path("file"));
    }
};

TEST_F(ClosedLogFile, GivesTheRecordsBetweenItsFirstLineAndItsLast) {
    const auto records = Parse(Whole());
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].kind, ParsedPiece::SHORT_RECORD);
    EXPECT_EQ(records[1].kind, ParsedPiece::RECORD);
    EXPECT_EQ(records[2].kind, ParsedPiece::DUMP);
    EXPECT_TRUE(Parse(kCreated + kClosed).empty());
}

TEST_F(ClosedLogFile, IsRefusedWhenItDoesNotBeginAndEndOnce) {
    for (const std::string& text :
         {std::string(), kCreated, kClosed, kRecord, kCreated + kRecord, kRecord + kClosed,
          kClosed + kRecord + kCreated, kCreated + kClosed + kRecord,
          kCreated + kClosed + kCreated + kClosed, kCreated + kCreated + kClosed,
          kCreated + kClosed + kClosed, kCreated + kRecord + kClosed + "x"}) {
        EXPECT_THROW(Parse(text), std::runtime_error) << text;
    }
    EXPECT_THROW(ParseClosedLogFile(Path("missing")), std::runtime_error);
}

TEST_F(ClosedLogFile, IsNamedWhenItIsTorn) {
    try {
        Parse(kCreated + "x");
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_THAT(error.what(), testing::StartsWith(Path("file") + ": byte 49: "));
    }
}

using LogFileNames = DirectoryTest;

TEST_F(LogFileNames, AreThoseOfTheCategoryAlone) {
    for (const char* name :
         {"unbi_corba_20240305_140709_2.log", "unbi_corba_20240305_140709_1.log",
          "unbi_corba_alarm_20240305_140709_1.log", "unbi_corba_", "other.log"}) {
        WriteFile(Path(name), "");
    }
    EXPECT_THAT(ListLogFiles(Path(), "corba"),
                testing::ElementsAre("unbi_corba_20240305_140709_1.log",
                                     "unbi_corba_20240305_140709_2.log"));
    EXPECT_THAT(ListLogFiles(Path("missing"), "corba"), testing::IsEmpty());
}

}  // namespace
}  // namespace NS_TEST
