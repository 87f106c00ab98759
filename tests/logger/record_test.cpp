// What a record says of its moment, its place and its text.
#include <pthread.h>

#include <cerrno>
#include <climits>
#include <thread>

#include "bundlemgr/logsupport.h"
#include "manager/managerfixture.h"
#include "util/threadcontext.h"

using namespace NS_TEST;
using NS_UTIL::ThreadContextInfo;
using NS_UTIL::ThreadContextScope;

namespace {

class Record : public NS_TEST::ManagerTest {
  protected:
    static void Write(int level, const std::string& text) {
        Debug()->Log("f.cpp", "Run", 7, level, text);
    }
    static std::string Converted(const std::string& text) {
        std::string converted;
        return NS_BUNDLEMGR1::Convert2UTFforLog(text, converted);
    }
    static std::string StampNow() {
        std::string stamp;
        NS_BUNDLEMGR1::GetZoneTimeStamp(ACE_OS::gettimeofday(), stamp);
        return stamp;
    }
};

TEST_F(Record, ShowsTheContextThatItsThreadHadThen) {
    const std::string context = "U,TopT:-12,If:getNE,UserMsg:opr1";
    Debug()->EnableLevel(0);
    Manager().outputmode = 1;
    {
        const ThreadContextScope scope(ThreadContextInfo(-12, "getNE", "opr1", "U"));
        Write(-1, "queued");
        Write(1, "kept back");
    }
    Write(-1, "outside");
    Write(0, "trigger");
    EXPECT_EQ(Written("debug"), Frame(1, -1, "queued", context) + Frame(2, -1, "outside") +
                                    DumpFrame(3, "trigger", DumpedLine(1, "kept back", context)));
}

TEST_F(Record, ShowsTheThreadThatLoggedIt) {
    Manager().outputmode = 1;
    std::string expected;
    std::thread([&expected] {
        expected = Frame(1, -1, "text");
        Write(-1, "text");
    }).join();
    Manager().FlushAll();
    EXPECT_NE(expected, Frame(1, -1, "text"));
    EXPECT_EQ(Written("debug"), expected);
}

// The report of what is cut may be a cancellation point of the platform's.
TEST_F(Record, OfACutMessageIsWrittenByAThreadThatWasCancelled) {
    Diagnostics().onPrint = [](const std::string&) { ::pthread_testcancel(); };
    bool isBehindTheCall = false;
    std::thread([&isBehindTheCall] {
        ::pthread_cancel(::pthread_self());
        errno = ENOENT;
        Debug()->LogFormat("f.cpp", "Run", 7, -1, "%5000d", 1);
        isBehindTheCall = errno == ENOENT;
        ::pthread_testcancel();
        isBehindTheCall = false;
    }).join();
    Diagnostics().onPrint = nullptr;
    EXPECT_TRUE(isBehindTheCall);
    EXPECT_EQ(Diagnostics().Printed().size(), 1u);
    EXPECT_NE(Written("debug").find("Detail: " + std::string(4095, ' ')), std::string::npos);
}

TEST_F(Record, ShowsTheMomentOfTheCallHoweverLateItIsWritten) {
    const ScopedTimeZone zone(UTC);
    Manager().outputmode = 1;
    const std::string before = StampNow();
    Write(-1, "text");
    const std::string after = StampNow();
    while (StampNow() == after) {
    }
    Manager().FlushAll();
    const auto pieces = ParseLogPieces(Path("log/" + Files("debug").front()));
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_LE(before, pieces[1].record.stamp);
    EXPECT_LE(pieces[1].record.stamp, after);
    EXPECT_LT(after, pieces[0].record.stamp);
}

TEST_F(Record, DoesNotShowTheLoggersNames) {
    Manager().GetLogger("first-name", "second-name", "debug")->Log("f.cpp", "Run", 7, -1, "text");
    EXPECT_EQ(Written("debug"), Frame(1, -1, "text"));
}

TEST_F(Record, ShowsItsPositionAsItWasGiven) {
    FrameFields fields = FieldsOf(kNoContext);
    std::string expected;
    const auto log = [&](const std::string& file, const std::string& function, unsigned int line,
                         unsigned number) {
        Debug()->Log(file, function, line, -1, "");
        fields.position = "File: " + file + " Func:" + function + " Line:" + std::to_string(line);
        expected += FrameOf(fields, number, -1, "");
        EXPECT_EQ(Written("debug"), expected);
    };
    log("", "", UINT_MAX, 1);
    log("dir/f.cpp", "A::Run(int) const", 0, 2);
    log("not UTF-8: f\xFF.cpp", "Run\xFE", 7, 3);
}

TEST_F(Record, HoldsAnyTextUpToItsFirstZeroByte) {
    const std::string text = "%s %n 100% \n<1>\n</1>\n\n\t\"quoted\" \\ \x01\x7F \xC3\xA4";
    const std::string longText(1'000'000, 'x');
    Write(-1, text);
    Write(-1, longText);
    Debug()->Log(std::string("f.cpp\0x", 7), std::string("Run\0x", 5), 7, -1,
                 std::string("text\0x", 6));
    EXPECT_TRUE(Written("debug") ==
                Frame(1, -1, text) + Frame(2, -1, longText) + Frame(3, -1, "text"));
}

// Also while it is kept back.
TEST_F(Record, ConvertsItsTextToValidUtf8) {
    Debug()->EnableLevel(0);
    for (const std::string text :
         {"a\xFFz", "\xC3", "\xC3(", "a\xED\xA0\x80z", "\xF5\x80\x80\x80", "\x80\x80"}) {
        EXPECT_NE(Converted(text), text);
        Write(1, text);
        Write(-2, text);
        Write(0, "trigger");
        EXPECT_THAT(Written("debug"), testing::HasSubstr("STAMP," + Converted(text) + "\n<"));
        EXPECT_THAT(Written("debug"), testing::HasSubstr(DumpedLine(1, Converted(text))));
    }
}

}  // namespace
