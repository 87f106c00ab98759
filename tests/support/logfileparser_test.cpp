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

std::string Shown(const ParsedRecord& record) {
    return record.stamp + "|" + record.context + "|" + record.thread + "|" +
           std::to_string(record.level) + "|" + record.file + "|" + record.function + "|" +
           record.line + "|" + record.detail;
}

std::vector<std::string> Shown(const std::vector<ParsedPiece>& pieces) {
    const char* const kinds[] = {"created", "closed", "record", "short", "dump"};
    std::vector<std::string> shown;
    for (const ParsedPiece& piece : pieces) {
        shown.push_back(std::string(kinds[piece.kind]) + " " + std::to_string(piece.number) + " " +
                        Shown(piece.record));
        for (const ParsedRecord& dumped : piece.dumped) {
            shown.push_back(Shown(dumped));
        }
    }
    return shown;
}

TEST(LogText, ShowsEveryFieldOfItsPieces) {
    EXPECT_THAT(
        Shown(ParseLogText(Whole())),
        testing::ElementsAre(
            "created 0 " + kStamp + "|||0||||", "short 0 " + kStamp + "|||-2||||short, but whole",
            "record 17 " + kStamp + "|U,TopT:1,If:get,UserMsg:me|-42|1|a.cpp|Run|7|one\n\ntwo</17>",
            "dump 18 " + kStamp + "||42|0|b.cpp|Stop|0|it broke",
            kStamp + "|C|1|3|c.cpp|Try|4294967295|three\n four", kStamp + "||2|-7|||8|",
            "closed 0 " + kStamp + "|||0||||"));
    EXPECT_TRUE(ParseLogText("").empty());
}

void ExpectRefusal(const std::string& text) {
    EXPECT_THROW(ParseLogText(text), std::runtime_error) << text;
}

TEST(LogText, IsRefusedWhereverItIsTorn) {
    std::string whole;
    for (const std::string& piece : kPieces) {
        EXPECT_NO_THROW(ParseLogText(whole));
        for (size_t size = 1; size < piece.size(); ++size) {
            ExpectRefusal(whole + piece.substr(0, size));
            ExpectRefusal(piece.substr(size) + kClosed);
        }
        ExpectRefusal(whole + "x" + piece);
        whole += piece;
    }
    ExpectRefusal(whole + "\n");
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
        ExpectRefusal(text);
    }
}

// A detail that is the line with which a dump begins could not be told from a dump.
TEST(LogText, IsRefusedWhenADumpBeginsAndHasNoEnd) {
    ExpectRefusal("<1>\n" + kStamp +
                  ", , T:1, DL:1, File: a Func:b Line:7\n Detail: "
                  "\n*********** Dump filtered debug information begin **********\n</1>\n\n");
}

class ClosedLogFile : public DirectoryTest {
  protected:
    std::vector<ParsedPiece> Parse(const std::string& text) const {
        WriteFile(Path("file"), text);
        return ParseClosedLogFile(Path("file"));
    }
};

TEST_F(ClosedLogFile, GivesTheRecordsBetweenItsFirstLineAndItsLast) {
    EXPECT_EQ(Shown(Parse(Whole())), Shown(ParseLogText(kShort + kRecord + kDump)));
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

}  // namespace
}  // namespace NS_TEST
