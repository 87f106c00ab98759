// What a record says, and the context header in it.
#include <climits>

#include "bundlemgr/logsupport.h"
#include "manager/managertest.h"
#include "record/contextheader.h"
#include "support/logfileparser.h"
#include "util/threadcontext.h"

using NS_LOG_SERVICE1::BuildContextHeader;
using NS_LOG_SERVICE1::LevelSwitches;
using NS_LOG_SERVICE1::Logger;
using NS_TEST::DumpedLine;
using NS_TEST::DumpFrame;
using NS_TEST::Frame;
using NS_TEST::ThreadText;
using NS_UTIL::ThreadContextInfo;
using NS_UTIL::ThreadContextScope;

namespace {

std::string HeaderOf(int thread, const std::string& interfaceName, const std::string& user,
                     const std::string& uuid) {
    const ThreadContextScope scope(ThreadContextInfo(thread, interfaceName, user, uuid));
    return BuildContextHeader();
}

TEST(ContextHeader, JoinsTheFourPieces) {
    EXPECT_EQ(HeaderOf(12, "getNE", "opr1", "U"), "U,TopT:12,If:getNE,UserMsg:opr1");
}

TEST(ContextHeader, OfAnEmptyContextIsAllLabels) {
    EXPECT_EQ(BuildContextHeader(), ",TopT:0,If:,UserMsg:");
    EXPECT_EQ(HeaderOf(0, "", "", ""), ",TopT:0,If:,UserMsg:");
}

TEST(ContextHeader, KeepsAllLabelsWhicheverPieceIsMissing) {
    EXPECT_EQ(HeaderOf(1, "", "", ""), ",TopT:1,If:,UserMsg:");
    EXPECT_EQ(HeaderOf(0, "i", "", ""), ",TopT:0,If:i,UserMsg:");
    EXPECT_EQ(HeaderOf(0, "", "u", ""), ",TopT:0,If:,UserMsg:u");
    EXPECT_EQ(HeaderOf(0, "", "", "U"), "U,TopT:0,If:,UserMsg:");
}

TEST(ContextHeader, WritesEveryThreadNumberInDecimal) {
    EXPECT_EQ(HeaderOf(-5, "i", "u", "U"), "U,TopT:-5,If:i,UserMsg:u");
    EXPECT_EQ(HeaderOf(INT_MIN, "", "", ""), ",TopT:-2147483648,If:,UserMsg:");
    EXPECT_EQ(HeaderOf(INT_MAX, "", "", ""), ",TopT:2147483647,If:,UserMsg:");
    EXPECT_EQ(HeaderOf(1234567, "", "", ""), ",TopT:1234567,If:,UserMsg:");
}

TEST(ContextHeader, TakesThePiecesAsTheyAre) {
    EXPECT_EQ(HeaderOf(1, "a,b", "If:x,UserMsg:%s", "TopT:9,"),
              "TopT:9,,TopT:1,If:a,b,UserMsg:If:x,UserMsg:%s");
    const std::string user(100'000, 'u');
    EXPECT_EQ(HeaderOf(1, "i", user, "U"), "U,TopT:1,If:i,UserMsg:" + user);
}

TEST(ContextHeader, IsTheCallingThreadsOwn) {
    const ThreadContextScope scope(ThreadContextInfo(1, "i", "u", "U"));
    std::string elsewhere;
    std::thread([&elsewhere] { elsewhere = BuildContextHeader(); }).join();
    EXPECT_EQ(elsewhere, ",TopT:0,If:,UserMsg:");
    EXPECT_EQ(BuildContextHeader(), "U,TopT:1,If:i,UserMsg:u");
}

class Record : public NS_TEST::ManagerTest {
  protected:
    static void Write(int level, const std::string& text) {
        Debug()->Log("f.cpp", "Run", 7, level, text);
    }
};

TEST_F(Record, ShowsTheContextOfItsThread) {
    {
        const ThreadContextScope scope(ThreadContextInfo(12, "getNE", "opr1", "U"));
        Write(-1, "inside");
    }
    Write(-1, "outside");
    EXPECT_EQ(Written("debug"),
              Frame(1, -1, "inside", "U,TopT:12,If:getNE,UserMsg:opr1") + Frame(2, -1, "outside"));
}

TEST_F(Record, KeepsTheContextOfItsMomentWhileItIsKeptBack) {
    Debug()->EnableLevel(0);
    {
        const ThreadContextScope scope(ThreadContextInfo(-12, "getNE", "opr1", "U"));
        Write(1, "inside");
    }
    Write(0, "trigger");
    EXPECT_EQ(Written("debug"),
              DumpFrame(1, "trigger", DumpedLine(1, "inside", "U,TopT:-12,If:getNE,UserMsg:opr1")));
}

TEST_F(Record, KeepsTheContextOfItsMomentWhileItIsQueued) {
    Manager().outputmode = 1;
    {
        const ThreadContextScope scope(ThreadContextInfo(3, "i", "u", "U"));
        Write(-1, "inside");
    }
    Manager().FlushAll();
    EXPECT_EQ(Written("debug"), Frame(1, -1, "inside", "U,TopT:3,If:i,UserMsg:u"));
}

TEST_F(Record, ShowsTheThreadThatLoggedIt) {
    Manager().outputmode = 1;
    std::string thread;
    std::thread([&thread] {
        thread = ThreadText();
        Write(-1, "text");
    }).join();
    Manager().FlushAll();
    EXPECT_NE(thread, ThreadText());
    EXPECT_THAT(Written("debug"), testing::HasSubstr(", T:" + thread + ", DL:-1, "));
}

std::string StampNow() {
    std::string stamp;
    NS_BUNDLEMGR1::GetZoneTimeStamp(ACE_OS::gettimeofday(), stamp);
    return stamp;
}

TEST_F(Record, ShowsTheMomentOfTheCallHoweverLateItIsWritten) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::UTC);
    Manager().outputmode = 1;
    const std::string before = StampNow();
    Write(-1, "text");
    const std::string after = StampNow();
    while (StampNow() == after) {
    }
    Manager().FlushAll();
    const auto pieces = NS_TEST::ParseLogPieces(Path("log/" + Files("debug").front()));
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_LE(before, pieces[1].record.stamp);
    EXPECT_LE(pieces[1].record.stamp, after);
    EXPECT_LT(after, pieces[0].record.stamp);
}

TEST_F(Record, DoesNotShowTheLoggersNames) {
    Manager().GetLogger("first-name", "second-name", "debug")->Log("f.cpp", "Run", 7, -1, "text");
    EXPECT_EQ(Written("debug"), Frame(1, -1, "text"));
}

TEST_F(Record, ShowsItsSourcePositionAsItWasGiven) {
    Debug()->Log("", "", UINT_MAX, -1, "");
    Debug()->Log("dir/f.cpp", "A::Run(int) const", 0, -1, "text");
    const std::string head = "STAMP, ,TopT:0,If:,UserMsg:, T:" + ThreadText() + ", DL:-1, ";
    EXPECT_EQ(Written("debug"), "<1>\n" + head +
                                    "File:  Func: Line:4294967295\n Detail: \n</1>\n\n"
                                    "<2>\n" +
                                    head +
                                    "File: dir/f.cpp Func:A::Run(int) const Line:0\n"
                                    " Detail: text\n</2>\n\n");
}

TEST_F(Record, TakesItsTextAsItIs) {
    const std::string text = "%s %n 100% \n<1>\n</1>\n\n\t\"quoted\" \\ \x01\x7F \xC3\xA4";
    Write(-1, text);
    EXPECT_EQ(Written("debug"), Frame(1, -1, text));
}

TEST_F(Record, HoldsALongTextWhole) {
    std::string text;
    while (text.size() < 1'000'000) {
        text += "0123456789abcdef";
    }
    Write(-1, text);
    EXPECT_TRUE(Written("debug") == Frame(1, -1, text));
}

TEST_F(Record, EndsEachTextAtItsFirstZeroByte) {
    Debug()->Log(std::string("f.cpp\0x", 7), std::string("Run\0x", 5), 7, -1,
                 std::string("text\0x", 6));
    EXPECT_EQ(Written("debug"), Frame(1, -1, "text"));
}

TEST_F(Record, ConvertsItsTextToValidUtf8) {
    for (const std::string text :
         {"a\xFFz", "\xC3", "\xC3(", "a\xED\xA0\x80z", "\xF5\x80\x80\x80", "\x80\x80"}) {
        std::string converted;
        const std::string expected = NS_BUNDLEMGR1::Convert2UTFforLog(text, converted);
        EXPECT_NE(expected, text);
        Write(-2, text);
        EXPECT_THAT(Written("debug"), testing::EndsWith("STAMP," + expected + "\n"));
    }
}

TEST_F(Record, ConvertsItsTextWhileItIsKeptBack) {
    Debug()->EnableLevel(0);
    Write(1, "a\xFFz");
    Write(0, "b\xFFz");
    std::string a;
    std::string b;
    EXPECT_EQ(Written("debug"),
              DumpFrame(1, NS_BUNDLEMGR1::Convert2UTFforLog("b\xFFz", b),
                        DumpedLine(1, NS_BUNDLEMGR1::Convert2UTFforLog("a\xFFz", a))));
}

TEST_F(Record, DoesNotConvertFileAndFunction) {
    Debug()->Log("f\xFF.cpp", "Run\xFE", 7, -1, "text");
    EXPECT_THAT(Written("debug"), testing::HasSubstr(", File: f\xFF.cpp Func:Run\xFE Line:7\n"));
}

}  // namespace
