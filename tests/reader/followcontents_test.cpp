// What following makes of the contents of files: their order, their past and what is not whole.
#include <signal.h>

#include <filesystem>
#include <fstream>

#include "reader/followfixture.h"
#include "support/tracing.h"

namespace {

using namespace NS_TEST;

class FollowContents : public FollowProgram {
  protected:
    // Follows while a system call fails with an error, of one file if there is a path.
    static ChildStart WithFailure(const std::string& path, const std::string& call,
                                  const std::string& error, std::vector<std::string> words) {
        // What is traced does not come into the directory, where it would be a change.
        std::vector<std::string> all = {
            "strace", "-qq",           "-o", "/dev/null",
            "-e",     "trace=" + call, "-e", "inject=" + call + ":error=" + error};
        if (!path.empty()) {
            all.insert(all.end(), {"-P", path});
        }
        all.insert(all.end(), {QVLOG, "-f", "--fields", "detail"});
        all.insert(all.end(), words.begin(), words.end());
        return {all, {{"ASAN_OPTIONS", "detect_leaks=0"}}};
    }
};

TEST_F(FollowContents, OfAFileThatIsRefilledToItsOldSizeAreNew) {
    Append(first_, CreatedText(1) + Frame(1, "old"));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("old\n"));
    program->Signal(SIGSTOP);
    WriteFile(Path(first_), CreatedText(2) + Frame(1, "new"));
    program->Signal(SIGCONT);
    EXPECT_TRUE(program->WaitForOutput("new\n"));
    EXPECT_TRUE(program->WaitForError("begins again"));
}

// The places of what was told concern the old contents.
TEST_F(FollowContents, AreToldToBeTornWhereTheOldOnesEnded) {
    const std::string old = CreatedText(1) + Frame(1, "one");
    const std::string torn = Frame(2, "torn").substr(0, 100);
    Append(first_, old);
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    program->Signal(SIGSTOP);
    WriteFile(Path(first_), CreatedText(2) + Frame(1, "two") + torn);
    program->Signal(SIGCONT);
    ASSERT_TRUE(program->WaitForError("at byte " + std::to_string(old.size()) + ": the file was"));
    writer_.End();
    EXPECT_TRUE(program->WaitForError("at byte " + std::to_string(old.size()) + ": record 2"));
}

TEST_F(FollowContents, KeepTheirOrderWhenTheClockIsSetBack) {
    Append(first_, CreatedText());
    const auto program = Start({"--end-with-agent"});
    AwaitLook(*program);
    Append(first_, LogFrame(2, Fields(50, "before")) + LogFrame(3, Fields(51, "before")) +
                       LogFrame(4, Fields(4, "after")) + LogFrame(5, Fields(5, "after")));
    ASSERT_TRUE(program->WaitForOutput("after\nafter\n"));
    EXPECT_TRUE(program->WaitForOutput("before\nbefore\nafter\nafter\n"));
}

TEST_F(FollowContents, OfSeveralFilesComeByTime) {
    const std::string other = LogName("debug", 1, writer_.Number());
    Append(first_, CreatedText());
    Append(other, CreatedText());
    const auto program = Start();
    AwaitLook(*program);
    program->Signal(SIGSTOP);
    Append(other, Frame(11, "one") + Frame(13, "three"));
    Append(first_, Frame(12, "two") + Frame(14, "four"));
    program->Signal(SIGCONT);
    EXPECT_TRUE(program->WaitForOutput("one\ntwo\nthree\nfour\n"));
}

TEST_F(FollowContents, TakeLittleMemoryHoweverMuchIsWrittenMeanwhile) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    Append(first_, CreatedText() + Frame(1, "one"));
    ChildProcess program(ChildStart{{QVLOG, "-f", "--fields", "line", Path()}});
    ASSERT_TRUE(program.WaitForOutput("88\n"));
    program.Signal(SIGSTOP);
    const std::string detail(size_t{64} << 10, 'x');
    for (uint32_t i = 2; i <= 1500; ++i) {
        Append(first_, Frame(i, detail));
    }
    program.Signal(SIGCONT);
    ASSERT_TRUE(program.WaitForOutput("88\n", 1500));
    program.Signal(SIGTERM);
    EXPECT_LT(program.Wait().peakMemory, int64_t{64} << 20);
}

TEST_F(FollowContents, OfCompressedFilesArePast) {
    const std::string packed = LogName("oper", 0, writer_.Number());
    Append(packed, CreatedText(1) + Frame(1, "packed") + ClosedText(2));
    ASSERT_EQ(RunProgram({"gzip", Path(packed)}).exitCode, 0);
    Append(first_, CreatedText(3) + Frame(2, "plain"));
    EXPECT_TRUE(Start()->WaitForOutput("packed\nplain\n"));
}

TEST_F(FollowContents, AreNotTornAtTheStartWhileTheyAreWritten) {
    Append(first_, CreatedText() + Frame(1, "one") + Frame(2, "two").substr(0, 90));
    const auto program = Start();
    ASSERT_TRUE(program->WaitForOutput("one\n"));
    Append(first_, Frame(2, "two").substr(90));
    ASSERT_TRUE(program->WaitForOutput("two\n"));
    EXPECT_EQ(program->GetErrors(), "");
}

TEST_F(FollowContents, ThatCannotBeReadAnyMoreAreToldOnce) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    const std::string other = LogName("debug", 1, writer_.Number());
    Append(first_, CreatedText());
    ChildProcess program(WithFailure(Path(other), "pread64", "ESTALE:when=3+", {Path()}));
    AwaitLook(program);
    Append(other, CreatedText());
    ASSERT_TRUE(program.WaitForError("Stale file handle"));
    AwaitLook(program);
    AwaitLook(program);
    program.CloseOutput();
    EXPECT_EQ(CountIn(program.Wait().errors, other + ": Stale file handle\n"), 1);
}

// The number of a file alone may come again with another one, when it was removed.
TEST_F(FollowContents, OfAFileThatCouldNotBeOpenedAreNewUnderAnotherName) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    const std::string other = LogName("debug", 1, writer_.Number());
    Append(first_, CreatedText());
    Append(other, CreatedText() + Frame(1, "unread"));
    ChildProcess program(WithFailure(Path(other), "openat", "EACCES", {Path()}));
    ASSERT_TRUE(program.WaitForError("Permission denied"));
    AwaitLook(program);
    std::filesystem::rename(Path(other), Path(LogName("debug", 2, writer_.Number())));
    EXPECT_TRUE(program.WaitForOutput("unread\n"));
}

TEST_F(FollowContents, AreFollowedWhenTheEndOfTheAgentIsNotSeen) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    for (const std::string error : {"ENOSYS", "EPERM", "EMFILE", "EINVAL", "ENOENT"}) {
        Append(first_, CreatedText() + Frame(1, "past"));
        ChildProcess program(WithFailure("", "pidfd_open", error, {"--end-with-agent", Path()}));
        ASSERT_TRUE(program.WaitForError("the end of processes is not seen: "));
        Append(first_, Frame(2, "next" + error));
        EXPECT_TRUE(program.WaitForOutput("next" + error + "\n"));
        program.CloseOutput();
        EXPECT_EQ(program.Wait().exitCode, 2);
    }
}

}  // namespace
