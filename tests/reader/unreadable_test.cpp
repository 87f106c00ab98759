// Files that cannot be read to their end.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "reader/programfixture.h"
#include "support/tracing.h"

namespace {

using namespace NS_TEST;
using testing::HasSubstr;

class Unreadable : public ReaderProgram {
  protected:
    Unreadable() {
        std::string text = CreatedText();
        for (uint32_t i = 1; i <= kRecords; ++i) {
            text += LogFrame(i, Fields(static_cast<int>(i % 3600), std::to_string(i * 2654435761)));
        }
        WriteFile(file_, text + ClosedText());
    }

    // Leaves the first half of the file as it is compressed.
    void BreakOff() {
        ASSERT_EQ(RunProgram({"gzip", file_}).exitCode, 0);
        const std::string packed = file_ + ".gz";
        std::filesystem::resize_file(packed, std::filesystem::file_size(packed) / 2);
    }

    // Starts the program while reads of a file fail: those of these numbers.
    ChildStart WithReadErrors(const std::string& file, const std::string& numbers,
                              std::vector<std::string> words) const {
        words.insert(words.begin(), {"strace", "-qq", "-o", Path("trace.txt"), "-P", file, "-e",
                                     "inject=pread64:error=EIO:when=" + numbers, QVLOG});
        return {words, {{"ASAN_OPTIONS", "detect_leaks=0"}}};
    }

    static constexpr uint32_t kRecords = 4000;
    const std::string file_ = Path(LogName("oper"));
};

// What was read is shown all the same.
TEST_F(Unreadable, FileThatBreaksOffIsTrouble) {
    BreakOff();
    const ProgramResult count = Run({"-c", Path()});
    EXPECT_EQ(count.exitCode, 2);
    EXPECT_GT(std::stoul(count.output), kRecords / 4);
    EXPECT_LT(std::stoul(count.output), kRecords);
    EXPECT_THAT(count.errors, HasSubstr("it ends early; what follows byte "));
    EXPECT_EQ(Run({Path()}).exitCode, 2);
    EXPECT_EQ(Run({"stats", Path()}).exitCode, 2);
    EXPECT_EQ(Run({"export", "--to", "sqlite", Path("out.db"), Path()}).exitCode, 2);
}

TEST_F(Unreadable, FileThatBreaksOffIsShownBackwardsAsFarAsItGoes) {
    BreakOff();
    const std::string all = Run({"-o", "json", Path()}).output;
    const int count = CountIn(all, "\n");
    const size_t last = all.rfind('\n', all.size() - 2) + 1;
    const ProgramResult one = Run({"-o", "json", "-n", "1", Path()});
    EXPECT_EQ(one.exitCode, 2);
    EXPECT_EQ(one.output, all.substr(last));
    EXPECT_THAT(one.errors, HasSubstr("it ends early; what follows byte "));
    EXPECT_EQ(CountIn(Run({"-o", "json", "--reverse", Path()}).output, "\n"), count);
}

TEST_F(Unreadable, FileWithAReadErrorIsTrouble) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    // Behind the look for its time, and its first block.
    const ProgramResult count = NS_TEST::RunProgram(WithReadErrors(file_, "3+", {"-c", file_}));
    EXPECT_EQ(count.exitCode, 2);
    EXPECT_GT(std::stoul(count.output), 1000U);
    EXPECT_LT(std::stoul(count.output), kRecords);
    EXPECT_THAT(count.errors, HasSubstr("Input/output error; what follows byte "));
}

TEST_F(Unreadable, FollowedFileWithAReadErrorIsTrouble) {
    if (!MayTrace()) {
        GTEST_SKIP() << kNoTrace;
    }
    std::filesystem::create_directory(Path("log"));
    const std::string whole = Path("log/" + LogName("whole"));
    const std::string other = Path("log/" + LogName("other"));
    WriteFile(whole, LogFrame(1, Fields(1, "one")));
    // Behind the two looks at its beginning.
    ChildProcess program(WithReadErrors(other, "3", {"-f", "--fields", "detail", Path("log")}));
    ASSERT_TRUE(program.WaitForOutput("one\n"));
    WriteFile(other, LogFrame(1, Fields(2, "unread")));
    std::ofstream(whole, std::ios::app) << LogFrame(2, Fields(3, "two"));
    ASSERT_TRUE(program.WaitForOutput("two\n"));
    program.CloseOutput();
    const ProgramResult result = program.Wait();
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.errors, HasSubstr("Input/output error; what follows byte 0 was not read"));
}

}  // namespace
