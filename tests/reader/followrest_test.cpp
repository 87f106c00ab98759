// Files that are let go of while others are followed, and what is written to them later.
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "reader/followfixture.h"

namespace {

using namespace NS_TEST;

class FollowAtRest : public FollowProgram {
  protected:
    std::string Name(int second) const { return LogName("oper", second, writer_.Number()); }

    // Fills files of a process that is not seen until no more can be opened. Returns the last one,
    // which could not be.
    std::string FillDescriptors(ChildProcess& program) {
        for (int file = 1;; ++file) {
            std::string name = LogName("debug", file, kEnded);
            Append(name, Frame(1, "file"));
            AwaitLook(program);
            if (CountIn(program.GetErrors(), "Too many open files") != 0) {
                return name;
            }
        }
    }
};

TEST_F(FollowAtRest, ShowsWhatReplacesAFileThatWasClosedAtTheStart) {
    Append(first_, CreatedText(1) + Frame(1, "past") + ClosedText(2));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("past\n"));
    EXPECT_FALSE(IsHeld(*program, first_));
    WriteFile(Path(first_), CreatedText(3) + Frame(2, "replaced"));
    ASSERT_TRUE(program->WaitForOutput("replaced\n"));
    EXPECT_TRUE(program->WaitForError("begins again"));
    Append(first_, Frame(3, "and on"));
    ASSERT_TRUE(program->WaitForOutput("and on\n"));
}

TEST_F(FollowAtRest, ShowsWhatContinuesAFileThatWasClosedAtTheStart) {
    Append(first_, CreatedText(1) + Frame(1, "past") + ClosedText(2));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("past\n"));
    Append(first_, CreatedText(3) + Frame(2, "continued"));
    ASSERT_TRUE(program->WaitForOutput("continued\n"));
    program->Signal(SIGTERM);
    const ProgramResult result = program->Wait();
    EXPECT_EQ(result.output, "past\ncontinued\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(FollowAtRest, ShowsWhatRefillsAFileToItsOldSize) {
    Append(first_, CreatedText(1) + Frame(1, "old") + ClosedText(2));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("old\n"));
    program->Signal(SIGSTOP);
    WriteFile(Path(first_), CreatedText(3) + Frame(1, "new") + ClosedText(4));
    program->Signal(SIGCONT);
    EXPECT_TRUE(program->WaitForOutput("new\n"));
}

// A file's number may come again with another file, when its own was removed.
TEST_F(FollowAtRest, TakesWhatHasAnotherNameForANewFile) {
    Append(Name(2), CreatedText(1) + Frame(1, "past") + ClosedText(2));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("past\n"));
    std::filesystem::rename(Path(Name(2)), Path(Name(3)));
    EXPECT_TRUE(program->WaitForOutput("past\n", 2));
    EXPECT_EQ(program->GetErrors(), "");
}

TEST_F(FollowAtRest, ShowsWhatIsWrittenInTheHourThatTheClockShowsTwice) {
    Append(Name(1), CreatedText(1) + Frame(1, "one"));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    Append(Name(1), ClosedText(2));
    Append(Name(2), CreatedText(2) + Frame(2, "two") + ClosedText(3));
    ASSERT_TRUE(program->WaitForOutput("two\n"));
    Append(Name(3), CreatedText(3) + Frame(3, "three"));
    ASSERT_TRUE(program->WaitForOutput("three\n"));
    Append(Name(3), Frame(4, "four"));
    ASSERT_TRUE(program->WaitForOutput("four\n"));
    EXPECT_FALSE(IsHeld(*program, Name(1)));
    EXPECT_FALSE(IsHeld(*program, Name(2)));
    WriteFile(Path(Name(1)), CreatedText(5) + Frame(5, "emptied"));
    ASSERT_TRUE(program->WaitForOutput("emptied\n"));
    Append(Name(2), CreatedText(6) + Frame(6, "continued"));
    ASSERT_TRUE(program->WaitForOutput("continued\n"));
}

TEST_F(FollowAtRest, ComparesOnlyFilesOfOneDirectory) {
    std::filesystem::create_directory(Path("a"));
    std::filesystem::create_directory(Path("b"));
    Append("a/" + Name(3), CreatedText(3) + Frame(1, "past"));
    Append("b/" + Name(2), CreatedText(2));
    ChildProcess program(
        ChildStart{{QVLOG, "-f", "--fields", "detail", Path(), Path("a"), Path("b")}});
    ASSERT_TRUE(program.WaitForOutput("past\n"));
    Append("a/" + Name(3), Frame(2, "last") + ClosedText(4));
    ASSERT_TRUE(program.WaitForOutput("last\n"));
    AwaitLook(program);
    EXPECT_TRUE(IsHeld(program, "a/" + Name(3)));
}

TEST_F(FollowAtRest, HoldsNoFileOfAnEndedProcessButShowsWhatIsWrittenToItThen) {
    const std::string ended = LogName("debug", 1, kEnded);
    Append(first_, CreatedText());
    Append(ended, CreatedText() + Frame(1, "past"));
    SetAge(ended, std::chrono::hours(1));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("past\n"));
    EXPECT_FALSE(IsHeld(*program, ended));
    Append(ended, Frame(2, "from another container"));
    ASSERT_TRUE(program->WaitForOutput("from another container\n"));
    SetAge(ended, std::chrono::hours(1));
    AwaitLook(*program);
    AwaitLook(*program);
    EXPECT_FALSE(IsHeld(*program, ended));
    program->Signal(SIGTERM);
    EXPECT_EQ(CountIn(program->Wait().output, "past\n"), 1);
}

TEST_F(FollowAtRest, FollowsBesideMoreUnclosedFilesThanCanBeOpened) {
    for (int file = 1; file <= 20; ++file) {
        const std::string ended = LogName("debug", file, kEnded);
        Append(ended, CreatedText() + Frame(1, "old"));
        SetAge(ended, std::chrono::hours(1));
    }
    Append(first_, CreatedText());
    // It is told when all files have been found.
    std::filesystem::create_directory(Path("pipe"));
    const std::string pipe = Path("pipe/" + LogName("debug"));
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    ChildProcess program(ChildStart{
        {"prlimit", "--nofile=16:16", QVLOG, "-f", "-n", "0", "--fields", "detail", Path(), pipe}});
    ASSERT_TRUE(program.WaitForError("it is a pipe or a device"));
    AwaitLook(program);
    Append(Name(2), CreatedText() + Frame(1, "rotated"));
    ASSERT_TRUE(program.WaitForOutput("rotated\n"));
    EXPECT_EQ(CountIn(program.GetErrors(), "\n"), 1) << program.GetErrors();
}

// The newer file needs the descriptor of the one before.
TEST_F(FollowAtRest, LetsGoOfAClosedFileWhenANewerOneCannotBeOpened) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs descriptors to look at what was thrown";
#endif
    Append(first_, CreatedText());
    ChildProcess program(
        ChildStart{{"prlimit", "--nofile=14:14", QVLOG, "-f", "--fields", "detail", Path()}});
    std::filesystem::remove(Path(FillDescriptors(program)));
    Append(first_, ClosedText());
    Append(Name(2), CreatedText() + Frame(1, "rotated"));
    ASSERT_TRUE(program.WaitForOutput("rotated\n"));
}

// Its process is not seen, and may live in another container.
TEST_F(FollowAtRest, StaysWithARemovedFileThatWasWrittenLately) {
    const std::string elsewhere = LogName("debug", 1, kEnded);
    Append(first_, CreatedText());
    Append(elsewhere, CreatedText() + Frame(1, "past"));
    std::ofstream writing(Path(elsewhere), std::ios::app);
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("past\n"));
    std::filesystem::remove(Path(elsewhere));
    AwaitLook(*program);
    AwaitLook(*program);
    writing << Frame(2, "without a name") << std::flush;
    ASSERT_TRUE(program->WaitForOutput("without a name\n"));
}

}  // namespace
