#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "reader/programfixture.h"

namespace {

using namespace NS_TEST;

// A process that writes logs, and whose end can be asked for.
class Writer {
  public:
    Writer() : process_(::fork()) {
        if (process_ == 0) {
            for (;;) {
                ::pause();
            }
        }
    }
    ~Writer() { End(); }

    void End() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
            process_ = -1;
        }
    }

    int Number() const { return process_; }

  private:
    pid_t process_;
};

class Follow : public ReaderProgram {
  protected:
    void Append(const std::string& name, const std::string& text) {
        std::ofstream(Path(name), std::ios::binary | std::ios::app) << text;
    }

    static std::string Frame(uint32_t number, const std::string& detail) {
        return LogFrame(number, Fields(static_cast<int>(number), detail));
    }

    // Follows from here on, with the details alone.
    std::unique_ptr<ChildProcess> Start(std::vector<std::string> words = {}) {
        words.insert(words.begin(), {QVLOG, "-f", "--fields", "detail"});
        words.push_back(Path());
        return std::make_unique<ChildProcess>(ChildStart{words});
    }

    // Has the program look at all files twice: the first look may have begun before.
    void AwaitLook(ChildProcess& program) {
        for (int i = 0; i < 2; ++i) {
            const std::string mark = "mark" + std::to_string(++marks_);
            Append(first_, Frame(static_cast<uint32_t>(marks_), mark));
            ASSERT_TRUE(program.WaitForOutput(mark + "\n")) << program.GetErrors();
        }
    }

    // Whether the program has a file open that has this name or had it.
    bool IsHeld(const ChildProcess& program, const std::string& name) const {
        const std::string open = "/proc/" + std::to_string(program.GetId()) + "/fd";
        for (const auto& entry : std::filesystem::directory_iterator(open)) {
            std::error_code gone;
            const std::string file = std::filesystem::read_symlink(entry.path(), gone).string();
            if (file.find(name) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    void SetAge(const std::string& name, std::chrono::hours age) {
        std::filesystem::last_write_time(Path(name),
                                         std::filesystem::file_time_type::clock::now() - age);
    }

    // No process has this number.
    static constexpr int kEnded = 2147483646;

    int marks_ = 0;
    Writer writer_;
    std::string first_ = LogName("oper", 1, writer_.Number());
};

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
        EXPECT_NE(call.find("], 2, -1)"), std::string::npos) << call;
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

TEST_F(Follow, OpensWhatItCouldNotOpenOnceOthersAreClosed) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs descriptors to look at what was thrown";
#endif
    Append(first_, CreatedText());
    ChildProcess program(
        ChildStart{{"prlimit", "--nofile=14:14", QVLOG, "-f", "--fields", "detail", Path()}});
    const auto name = [](int file) { return LogName("debug", file, kEnded); };
    int last = 0;
    while (CountIn(program.GetErrors(), "Too many open files") == 0) {
        ++last;
        ASSERT_LT(last, 14);
        Append(name(last), Frame(1, "file" + std::to_string(last)));
        AwaitLook(program);
    }
    AwaitLook(program);
    std::filesystem::remove(Path(name(1)));
    ASSERT_TRUE(program.WaitForOutput("file" + std::to_string(last) + "\n"));
    EXPECT_EQ(CountIn(program.GetErrors(), "Too many open files"), 1);
}

}  // namespace
