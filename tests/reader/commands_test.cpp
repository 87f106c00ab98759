// The program's other commands: verify, stats and prune.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/time.h>
#include <unistd.h>

#include "input/filedescriptor.h"
#include "reader/programfixture.h"
#include "support/tracing.h"

namespace {

using namespace NS_TEST;
using NS_LOG_READER::FileDescriptor;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// No process has this number.
constexpr int kNobody = 2147483646;

class Verify : public ReaderProgram {
  protected:
    // The findings of a series of files, without their places; then the exit code.
    std::string Findings(const std::vector<std::string>& files, int process = kNobody) {
        for (const std::string& name : ListFiles(Path())) {
            std::filesystem::remove(Path(name));
        }
        int second = 1;
        for (const std::string& text : files) {
            WriteFile(Path(LogName("oper", second, process)), CreatedText(second) + text);
            ++second;
        }
        const ProgramResult result = Run({"verify", Path()});
        std::string findings;
        std::istringstream lines(result.output);
        for (std::string line; std::getline(lines, line);) {
            const size_t place = line.find(": at byte ");
            if (place != std::string::npos) {
                findings += line.substr(line.find(": ", place + 2) + 2) + "; ";
            }
        }
        return findings + std::to_string(result.exitCode);
    }
};

TEST_F(Verify, FindsEverythingThatIsMissing) {
    const std::string end = ClosedText();
    const auto frame = [](uint32_t number, int second = 5) {
        return LogFrame(number, Fields(second, "x"));
    };
    EXPECT_EQ(Findings({frame(1) + ShortText(5, "x") + frame(3) + end, frame(4) + end}), "0");
    EXPECT_EQ(Findings({frame(1) + frame(3) + end}), "record 2 is missing; 1");
    EXPECT_EQ(Findings({frame(1) + ShortText(5, "x") + frame(6) + end}),
              "records 3 to 5 are missing; 1");
    EXPECT_EQ(Findings({frame(5) + end}), "note: begins with number 5: older files are gone; 0");
    EXPECT_EQ(Findings({frame(1) + ClosedText(2), frame(9) + end}),
              "records 2 to 8 are missing: the file was overwritten within its second; 1");
    EXPECT_EQ(
        Findings({frame(1) + ClosedText(1), end, frame(9) + end}),
        "note: the file holds no record; records 2 to 8 are missing: a file before this one is "
        "gone; 1");
    EXPECT_EQ(Findings({frame(1)}), "the file has no end; 1");
    EXPECT_EQ(Findings({frame(1) + frame(2).substr(0, 99)}),
              "record 2 is torn, 99 bytes; the file has no end; 1");
    EXPECT_EQ(Findings({frame(1) + "xx\n" + frame(2) + end}),
              "3 bytes that belong to no record; 1");
    EXPECT_EQ(Findings({frame(1, 900) + frame(2, 100) + frame(3, 50) + end}),
              "the time goes back to 2026-03-05T14:01:40.000000+01:00; 1");
    EXPECT_EQ(Findings({frame(1, 90) + frame(2, 89) + end}), "0");
    EXPECT_EQ(Findings({end}), "note: the file holds no record; 0");
}

// A writer may be anywhere in a record, and in the first line.
TEST_F(Verify, WaitsForTheEndOfWhatIsBeingWritten) {
    const std::string begun = CreatedText(1) + LogFrame(1);
    const std::string all = begun + LogFrame(2);
    const std::string name = LogName("oper", 1, kNobody);
    for (const size_t size : {size_t{0}, size_t{20}, begun.size() + 3, all.size() - 1}) {
        WriteFile(Path(name), all.substr(0, size));
        const FileDescriptor writer(::open(Path(name).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        const ProgramResult result = Run({"verify", Path()});
        EXPECT_EQ(result.exitCode, 0) << size << ": " << result.output;
        EXPECT_THAT(result.output, HasSubstr(": note: the file is being written\n"));
        EXPECT_THAT(result.output, HasSubstr(" 0 torn,"));
    }
    EXPECT_THAT(
        Run({"verify", Path()}).output,
        HasSubstr(": record 2 is torn, " + std::to_string(LogFrame(2).size() - 1) + " bytes\n"));
}

// What stands behind a torn record shows that nobody writes it any more.
TEST_F(Verify, FindsATornRecordInAFileThatIsBeingWritten) {
    const std::string name = LogName("oper", 1, kNobody);
    WriteFile(Path(name), CreatedText(1) + LogFrame(1).substr(0, 99) + LogFrame(2));
    const FileDescriptor writer(::open(Path(name).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    const ProgramResult result = Run({"verify", Path()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, HasSubstr(": record 1 is torn, 99 bytes\n"));
}

// Another process may have the number of one that was killed.
TEST_F(Verify, TakesAFileThatSomebodyHasOpenForOneThatIsBeingWritten) {
    const std::string name = LogName("oper", 1, kNobody);
    WriteFile(Path(name), CreatedText(1) + LogFrame(1));
    const int writer = ::open(Path(name).c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const ProgramResult written = Run({"verify", Path()});
    EXPECT_THAT(written.output, HasSubstr(": note: the file is being written\n"));
    EXPECT_EQ(written.exitCode, 0);
    ::close(writer);
    EXPECT_EQ(Findings({LogFrame(1)}, getpid()), "the file has no end; 1");
}

TEST_F(Verify, SumsUpEachSeries) {
    WriteSample();
    WriteFile(Path(LogName("empty", 1, kNobody)), "");
    const ProgramResult result = Run({"verify", Path()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output,
                HasSubstr("debug of process 7: 1 file, 1 records, 1 short, 1 dumped, 0 "
                          "missing, 0 torn, 0 out of order: whole\n"));
    EXPECT_THAT(result.output,
                HasSubstr(": at byte 0: the file is empty\nempty of process 2147483646: "
                          "1 file, 0 records"));
    EXPECT_THAT(Run({"verify", "--json", Path()}).output,
                HasSubstr("\"category\":\"oper\",\"process\":7,\"files\":1,\"bytes\":"));
    WriteFile(Path(LogName("bad", 1)) + ".gz", "\x1f\x8b no gzip");
    EXPECT_EQ(Run({"verify", Path()}).exitCode, 2);
}

TEST_F(Verify, OfNothingIsNoSuccess) {
    for (const std::string words : {"verify", "verify --json"}) {
        std::vector<std::string> all = SplitText(words, ' ');
        all.push_back(Path());
        const ProgramResult result = Run(all);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "qvlog: no log files\n");
    }
    const ProgramResult missing = Run({"verify", Path("none")});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_EQ(missing.errors, "qvlog: " + Path("none") + ": No such file or directory\n");
}

class Stats : public ReaderProgram {};

TEST_F(Stats, ShowNothingThatATerminalWouldObey) {
    LogFields fields;
    fields.user = "\x1b[31mopr";
    WriteFile(Path(LogName("debug", 7)), LogFrame(1, fields));
    EXPECT_THAT(Run({"stats", Path()}).output, HasSubstr("1  \\x1b[31mopr\n"));
}

TEST_F(Stats, CountEveryAspect) {
    WriteSample();
    const ProgramResult result = Run({"stats", "--top", "1", Path()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output,
                testing::StartsWith("6 records\n\nCategory\n           3  debug\n"
                                    "           1  others\n\nLevel\n           3  1\n"));
    EXPECT_THAT(result.output, HasSubstr("2026-03-05T14:00:30 !           1 #"));
    EXPECT_EQ(Run({"stats", "--json", "-l", "0", Path()}).output,
              "{\"v\":1,\"records\":1,\"category\":[{\"value\":\"debug\",\"count\":1}],\"level\":[{"
              "\"value\":\"0\",\"count\":1}],\"interface\":[{\"value\":\"getNE\",\"count\":1}],"
              "\"user\":[{"
              "\"value\":\"opr1\",\"count\":1}],\"source\":[{\"value\":\"ne.cpp:88\",\"count\":1}],"
              "\"operation\":[{\"value\":\"op-1\",\"count\":1}],\"histogram\":[{\"time\":"
              "\"2026-03-05T14:00:30.000000+01:00\",\"seconds\":1,\"records\":1,\"errors\":1}]}\n");
    EXPECT_EQ(Run({"stats", "-g", "nothing", Path()}).exitCode, 1);
}

class Prune : public ReaderProgram {
  protected:
    Prune() {
        for (int second = 1; second <= 4; ++second) {
            WriteFile(Path(LogName("a", second, kNobody)), std::string(1000, 'x'));
        }
        WriteFile(Path(LogName("b", 1, kNobody)), std::string(1000, 'x'));
        WriteFile(Path("unbi_other.txt"), "x");
    }

    // What is left: category and second.
    std::vector<std::string> Left() const {
        std::vector<std::string> left;
        for (const std::string& name : ListFiles(Path())) {
            if (name.size() > 24) {
                left.push_back(name.substr(5, 1) + name.substr(21, 1));
            }
        }
        return left;
    }
};

TEST_F(Prune, KeepsTheNewestOfEachCategory) {
    const ProgramResult dry = Run({"prune", "--keep", "3", "--dry-run", Path()});
    EXPECT_EQ(dry.output, "would remove " + Path(LogName("a", 1, kNobody)) + " (1000 bytes)\n");
    EXPECT_EQ(Left().size(), 5U);
    EXPECT_EQ(Run({"prune", "--keep", "2", Path()}).exitCode, 0);
    EXPECT_THAT(Left(), ElementsAre("a3", "a4", "b1"));
    EXPECT_EQ(Run({"prune", "--keep", "2", Path()}).exitCode, 1);
}

TEST_F(Prune, KeepsWhatFitsIntoASize) {
    EXPECT_EQ(Run({"prune", "--max-bytes", "2K", Path()}).exitCode, 0);
    EXPECT_THAT(Left(), ElementsAre("a3", "a4"));
    for (const char* size : {"2X", "-1", "x", "18446744073709551G"}) {
        EXPECT_EQ(Run({"prune", "--max-bytes", size, Path()}).exitCode, 2) << size;
    }
    EXPECT_THAT(Left(), ElementsAre("a3", "a4"));
}

TEST_F(Prune, CountsAFileOnceThatSeveralPathsLeadTo) {
    std::filesystem::create_directory_symlink(Path(), Path("link"));
    EXPECT_EQ(Run({"prune", "--keep", "4", Path(), Path("."), Path(LogName("a", 4, kNobody)),
                   Path("link")})
                  .exitCode,
              1);
    EXPECT_EQ(Run({"prune", "--max-bytes", "5000", Path(), Path("link")}).exitCode, 1);
    EXPECT_EQ(Left().size(), 5U);
}

// In names the time has no zone. When summer time ends, the hour from two to three comes twice.
TEST_F(Prune, KnowsTheNewerFileOfTheHourThatComesTwice) {
    const std::string first = "unbi_c_20261025_025000_2147483646.log";
    const std::string second = "unbi_c_20261025_021000_2147483646.log";
    WriteFile(Path(first), "File create at 2026-10-25T02:50:00.000000+02:00.\n");
    WriteFile(Path(second), "File create at 2026-10-25T02:10:00.000000+01:00.\n");
    EXPECT_EQ(Run({"prune", "--keep", "1", Path(first), Path(second)}).output,
              "removed " + Path(first) + " (49 bytes)\n");
    EXPECT_TRUE(std::filesystem::exists(Path(second)));
}

TEST_F(Prune, RemovesWhatIsOld) {
    const timeval times[2] = {{1000, 0}, {1000, 0}};
    ASSERT_EQ(::utimes(Path(LogName("a", 3, kNobody)).c_str(), times), 0);
    EXPECT_EQ(Run({"prune", "--older-than", "30d", Path()}).exitCode, 0);
    EXPECT_THAT(Left(), ElementsAre("a1", "a2", "a4", "b1"));
}

TEST_F(Prune, NeverRemovesWhatIsBeingWritten) {
    const int open = ::open(Path(LogName("a", 2, kNobody)).c_str(), O_WRONLY | O_APPEND);
    WriteFile(Path(LogName("b", 2, getpid())), "x");
    WriteFile(Path(LogName("b", 3, getpid())), "x");
    EXPECT_EQ(Run({"prune", "--keep", "0", Path()}).exitCode, 0);
    ::close(open);
    EXPECT_THAT(Left(), ElementsAre("a2", "b3"));
}

// Only the owner of a file can ask who has it open, and not on every file system.
TEST_F(Prune, KeepsWhatMayBeWrittenAndSaysWhyOnce) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    for (const char* error : {"EACCES", "EINVAL"}) {
        const std::string reason =
            error == std::string("EINVAL") ? "Invalid argument" : "Permission denied";
        const ProgramResult result = RunProgram(
            {"strace", "-qq", "-o", Path("trace.txt"), "-P", Path(LogName("a", 1, kNobody)), "-P",
             Path(LogName("a", 3, kNobody)), "-e", std::string("inject=fcntl:error=") + error,
             QVLOG, "prune", "--keep", "0", "--max-bytes", "0", Path()},
            {{"ASAN_OPTIONS", "detect_leaks=0"}});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.errors,
                  "qvlog: " + Path(LogName("a", 3, kNobody)) +
                      ": kept, as it cannot be told whether it is being written: " + reason + "\n");
        EXPECT_THAT(Left(), ElementsAre("a1", "a3"));
    }
}

TEST_F(Prune, KeepsWhatCannotBeOpened) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    const std::string kept = Path(LogName("b", 1, kNobody));
    const ProgramResult result =
        RunProgram({"strace", "-qq", "-o", Path("trace.txt"), "-P", kept, "-e",
                    "inject=openat:error=EACCES", QVLOG, "prune", "--keep", "0", Path()},
                   {{"ASAN_OPTIONS", "detect_leaks=0"}});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr(kept + ": kept, "));
    EXPECT_THAT(Left(), ElementsAre("b1"));
}

// The agent may open a file again at the moment in which it is asked whether anybody writes it.
TEST_F(Prune, IsNotEndedByTheSignalOfABrokenLease) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    const ProgramResult traced =
        RunProgram({"strace", "-qq", "-o", Path("trace.txt"), "-e", "trace=fcntl", "-e",
                    "inject=fcntl:signal=SIGIO", QVLOG, "prune", "--keep", "0", Path()},
                   {{"ASAN_OPTIONS", "detect_leaks=0"}});
    EXPECT_EQ(traced.exitCode, 0) << traced.errors;
    EXPECT_THAT(Left(), IsEmpty());
    EXPECT_THAT(ReadFile(Path("trace.txt")), HasSubstr("F_SETLEASE"));
}

TEST_F(Prune, WantsToKnowWhatToKeep) {
    EXPECT_EQ(Run({"prune", "--keep", "-1", Path()}).exitCode, 2);
    EXPECT_EQ(Run({"prune", Path()}).exitCode, 2);
    EXPECT_EQ(Left().size(), 5U);
}

}  // namespace
