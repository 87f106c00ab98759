#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "reader/followfixture.h"
#include "support/tracing.h"

namespace {

using namespace NS_TEST;

class Follow : public FollowProgram {};

TEST_F(Follow, ShowsThePastAndWhatIsWrittenThen) {
    Append(first_, CreatedText() + Frame(1, "one") + Frame(2, "two") + Frame(3, "three"));
    const auto program = Start({"-n", "2"});
    ASSERT_TRUE(program->WaitForOutput("two\nthree\n"));
    Append(first_, Frame(4, "four").substr(0, 50));
    Append(first_, Frame(4, "four").substr(50) + ShortText(4, "short"));
    ASSERT_TRUE(program->WaitForOutput("four\nshort\n"));
}

TEST_F(Follow, GoesOnAcrossRotationNewCategoriesAndProcesses) {
    Append(first_, CreatedText() + Frame(1, "one"));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    Append(first_, ClosedText());
    Append(LogName("oper", 2, writer_.Number()), CreatedText() + Frame(2, "rotated"));
    ASSERT_TRUE(program->WaitForOutput("rotated\n"));
    Append(LogName("debug", 2, writer_.Number()), CreatedText() + Frame(1, "category"));
    ASSERT_TRUE(program->WaitForOutput("category\n"));
    Append(LogName("oper", 9, 1), CreatedText() + Frame(1, "process"));
    ASSERT_TRUE(program->WaitForOutput("process\n"));
}

TEST_F(Follow, BeginsAgainWhenAFileIsOverwrittenWithinItsSecond) {
    Append(first_, CreatedText(1) + Frame(1, "one") + ClosedText());
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    Append(LogName("oper", 2, writer_.Number()), CreatedText(2) + Frame(2, "two") + ClosedText());
    ASSERT_TRUE(program->WaitForOutput("two\n"));
    WriteFile(
        Path(LogName("oper", 2, writer_.Number())),
        CreatedText(3) + Frame(9, "three, which is longer than the two before") + ClosedText());
    ASSERT_TRUE(program->WaitForOutput("three, which"));
}

TEST_F(Follow, TellsOnceThatAFileWasEmptiedBeforeItIsWrittenAgain) {
    const std::string other = LogName("oper", 2, writer_.Number());
    Append(first_, CreatedText(1));
    Append(other, CreatedText(2) + Frame(1, "old"));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("old\n"));
    std::filesystem::resize_file(Path(other), 0);
    ASSERT_TRUE(program->WaitForError("begins again"));
    Append(other, CreatedText(3) + Frame(1, "new"));
    ASSERT_TRUE(program->WaitForOutput("new\n"));
    Append(other, Frame(2, "newer"));
    ASSERT_TRUE(program->WaitForOutput("newer\n"));
    AwaitLook(*program);
    program->Signal(SIGTERM);
    const ProgramResult result = program->Wait();
    EXPECT_EQ(CountIn(result.output, "new\n"), 1) << result.output;
    EXPECT_EQ(CountIn(result.errors, "begins again"), 1) << result.errors;
}

TEST_F(Follow, TellsEachTimeThatAFileIsEmptied) {
    Append(first_, CreatedText(1) + Frame(1, "one"));
    const auto program = Start();
    for (int times = 1; times <= 2; ++times) {
        ASSERT_TRUE(program->WaitForOutput("one\n", times));
        std::filesystem::resize_file(Path(first_), 0);
        ASSERT_TRUE(program->WaitForError("begins again", times));
        Append(first_, CreatedText(1) + Frame(1, "one"));
    }
}

TEST_F(Follow, GoesOnWithAFileThatIsRenamed) {
    Append(first_, CreatedText() + Frame(1, "one"));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    std::filesystem::rename(Path(first_), Path(LogName("oper", 1, writer_.Number()) + ".1"));
    Append(first_ + ".1", Frame(2, "two"));
    ASSERT_TRUE(program->WaitForOutput("two\n"));
}

// Every wait is for the kernel's word, without a time limit: a record is shown as soon as it is
// written, and a quiet agent costs nothing.
TEST_F(Follow, IsWokenByWhatIsWrittenAndNeverLooksByItself) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    std::filesystem::create_directory(Path("log"));
    const std::string log = "log/" + first_;
    Append(log, CreatedText() + Frame(1, "one"));
    const std::string trace = Path("trace.txt");
    ChildProcess program(ChildStart{
        {"strace", "-qq", "-o", trace, "-e",
         "trace=poll,ppoll,select,pselect6,epoll_wait,epoll_pwait,nanosleep,clock_nanosleep,alarm,"
         "setitimer,timer_settime,timerfd_settime",
         QVLOG, "-f", "--fields", "detail", Path("log")},
        {{"ASAN_OPTIONS", "detect_leaks=0"}}});
    ASSERT_TRUE(program.WaitForOutput("one\n"));
    Append(log, Frame(2, "two"));
    ASSERT_TRUE(program.WaitForOutput("two\n"));
    program.CloseOutput();
    program.Wait();
    std::ifstream calls(trace);
    int waits = 0;
    for (std::string call; std::getline(calls, call); ++waits) {
        EXPECT_EQ(call.compare(0, 5, "poll("), 0) << call;
        // Of changes, of the output and of the process.
        EXPECT_NE(call.find("], 3, -1)"), std::string::npos) << call;
    }
    // For the second record, and for the closed output.
    EXPECT_GE(waits, 2);
}

TEST_F(Follow, SelectsAsAlways) {
    Append(first_, CreatedText() + Frame(1, "one"));
    const auto program = Start({"-g", "two|ten", "--category", "oper"});
    Append(LogName("debug", 1, writer_.Number()), CreatedText() + Frame(1, "other"));
    Append(first_, Frame(2, "two") + Frame(3, "one") + Frame(4, "ten"));
    ASSERT_TRUE(program->WaitForOutput("ten\n"));
    program->Signal(SIGTERM);
    EXPECT_EQ(program->Wait().output, "two\nten\n");
}

TEST_F(Follow, TellsThatAPatternWasGivenUp) {
    Append(first_, CreatedText() + Frame(1, "1a"));
    const auto program = Start({"--end-with-agent", "-g", "(*LIMIT_MATCH=1000)1(a+)+$"});
    ASSERT_TRUE(program->WaitForOutput("1a\n"));
    Append(first_, Frame(2, "1" + std::string(40, 'a') + "b") + Frame(3, "1aa"));
    ASSERT_TRUE(program->WaitForOutput("1aa\n"));
    writer_.End();
    const ProgramResult result = program->Wait();
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.errors.find("given up: match limit exceeded"), std::string::npos);
}

TEST_F(Follow, EndsWithTheAgentWhenToldSo) {
    Append(first_, CreatedText() + Frame(1, "one"));
    const auto program = Start({"--end-with-agent"});
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    Append(first_, Frame(2, "last"));
    writer_.End();
    const ProgramResult result = program->Wait();
    EXPECT_EQ(result.output, "one\nlast\n");
    EXPECT_EQ(result.exitCode, 0);
}

TEST_F(Follow, ShowsARecordThatItsProcessDidNotComplete) {
    Append(first_, CreatedText() + Frame(1, "one"));
    const auto ending = Start({"--end-with-agent"});
    const auto staying = Start();
    for (const auto& program : {ending.get(), staying.get()}) {
        ASSERT_TRUE(program->WaitForOutput("one\n"));
    }
    Append(first_, Frame(2, "torn").substr(0, Frame(2, "torn").size() - 7));
    writer_.End();
    ASSERT_TRUE(staying->WaitForOutput("torn\n"));
    EXPECT_TRUE(staying->WaitForError("record 2 is torn"));
    const ProgramResult result = ending->Wait();
    EXPECT_EQ(result.output, "one\ntorn\n");
    EXPECT_EQ(CountIn(result.errors, "record 2 is torn"), 1) << result.errors;
}

// An agent in another container may have a number that a process of this one has had.
TEST_F(Follow, WaitsForTheRestOfWhatIsWrittenAfterTheEndOfAProcess) {
    Append(first_, CreatedText() + Frame(2, "past"));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("past\n"));
    Append(first_, Frame(3, "torn").substr(0, Frame(3, "torn").size() - 7));
    writer_.End();
    ASSERT_TRUE(program->WaitForOutput("torn\n"));
    Append(first_, Frame(4, "living") + Frame(5, "whole").substr(0, 80));
    ASSERT_TRUE(program->WaitForOutput("living\n"));
    Append(first_, Frame(5, "whole").substr(80) + Frame(6, "last"));
    ASSERT_TRUE(program->WaitForOutput("last\n"));
    program->Signal(SIGTERM);
    const ProgramResult result = program->Wait();
    EXPECT_EQ(result.output, "past\ntorn\nliving\nwhole\nlast\n");
    EXPECT_EQ(CountIn(result.errors, "is torn"), 1) << result.errors;
}

TEST_F(Follow, ShowsOfThePastWhatWasNeverCompleted) {
    const std::string ended = LogName("debug", 1, kEnded);
    Append(first_, CreatedText());
    Append(ended, Frame(1, "one") + Frame(2, "torn").substr(0, Frame(2, "torn").size() - 7));
    SetAge(ended, std::chrono::hours(1));
    const auto program = Start();
    EXPECT_TRUE(program->WaitForOutput("one\ntorn\n"));
    AwaitLook(*program);
    program->Signal(SIGTERM);
    EXPECT_EQ(CountIn(program->Wait().output, "torn\n"), 1);
}

// With the record that a living process has not completed, each look begins where it begins.
TEST_F(Follow, WaitsForTheRestOfARecordWhileItsProcessLives) {
    const std::string other = LogName("debug", 1, writer_.Number());
    Append(first_, CreatedText());
    const auto program = Start();
    AwaitLook(*program);
    Append(other, Frame(1, "whole").substr(0, 80));
    AwaitLook(*program);
    Append(other, Frame(1, "whole").substr(80));
    ASSERT_TRUE(program->WaitForOutput("whole\n"));
    EXPECT_EQ(program->GetErrors(), "");
}

TEST_F(Follow, EndsAtOnceWhenNoAgentIsThere) {
    writer_.End();
    Append(first_, CreatedText() + Frame(1, "one"));
    EXPECT_EQ(Start({"--end-with-agent"})->Wait().output, "one\n");
}

TEST_F(Follow, EndsWhenNobodyReads) {
    Append(first_, CreatedText() + Frame(1, "one"));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    program->CloseOutput();
    EXPECT_EQ(program->Wait().exitCode, 0);
}

TEST_F(Follow, RefusesWhatCannotBeFollowed) {
    Append("copy.txt", Frame(1, "one"));
    Append(first_ + ".gz", Frame(1, "one"));
    const std::map<std::string, std::string> reasons = {
        {"copy.txt", "only files with the name of a log file are followed"},
        {first_ + ".gz", "only files with the name of a log file are followed"},
        {"missing", "no such file or directory"}};
    for (const auto& [name, reason] : reasons) {
        ChildProcess program(ChildStart{{QVLOG, "-f", Path(name)}});
        // One that follows prints nothing and goes on until its output is closed.
        program.CloseOutput();
        const ProgramResult result = program.Wait();
        EXPECT_EQ(result.exitCode, 2) << name;
        EXPECT_EQ(result.errors, "qvlog: " + Path(name) + ": " + reason + "\n");
    }
}

TEST_F(Follow, EndsWhenNobodyReadsASocket) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    ::close(ends[1]);
    // The limit ends a program that never waits.
    const ProgramResult result = NS_TEST::RunProgram(ChildStart{
        {"sh", "-c", R"(ulimit -t 10; exec "$0" -f "$1" >&0)", QVLOG, Path()}, {}, ends[0]});
    ::close(ends[0]);
    EXPECT_EQ(result.exitCode, 1) << result.errors;
}

TEST_F(Follow, LetsGoOfARemovedFileThatNobodyWrites) {
    const std::string ended = LogName("debug", 1, kEnded);
    const std::string living = LogName("debug", 2, writer_.Number());
    Append(first_, CreatedText());
    const auto program = Start();
    AwaitLook(*program);
    Append(ended, Frame(1, "ended"));
    Append(living, Frame(1, "living"));
    ASSERT_TRUE(program->WaitForOutput("ended\n"));
    ASSERT_TRUE(program->WaitForOutput("living\n"));
    std::ofstream writing(Path(living), std::ios::app);
    // What was written lately may be a file of another container's process.
    SetAge(ended, std::chrono::hours(1));
    std::filesystem::remove(Path(ended));
    std::filesystem::remove(Path(living));
    AwaitLook(*program);
    AwaitLook(*program);
    EXPECT_FALSE(IsHeld(*program, ended));
    EXPECT_TRUE(IsHeld(*program, living));
    writing << Frame(2, "without a name") << std::flush;
    ASSERT_TRUE(program->WaitForOutput("without a name\n"));
    writing << ClosedText() << std::flush;
    AwaitLook(*program);
    AwaitLook(*program);
    EXPECT_FALSE(IsHeld(*program, living));
}

TEST_F(Follow, LetsGoOfWhatAnEndedProcessHasClosed) {
    const std::string ended = LogName("debug", 1, kEnded);
    Append(first_, CreatedText());
    const auto program = Start();
    AwaitLook(*program);
    Append(ended, Frame(1, "ended") + ClosedText());
    ASSERT_TRUE(program->WaitForOutput("ended\n"));
    // It may be emptied and written again within its second.
    SetAge(ended, std::chrono::hours(-1));
    AwaitLook(*program);
    AwaitLook(*program);
    EXPECT_TRUE(IsHeld(*program, ended));
    SetAge(ended, std::chrono::hours(1));
    AwaitLook(*program);
    AwaitLook(*program);
    EXPECT_FALSE(IsHeld(*program, ended));
}

}  // namespace
