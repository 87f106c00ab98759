// How much memory the program takes, with files that are larger than that.
#include <fstream>

#include "reader/programfixture.h"

namespace {

using namespace NS_TEST;

constexpr int64_t kMegabyte = int64_t{1} << 20;

class Memory : public ReaderProgram {
  protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "the sanitizers take memory of their own";
#endif
    }

    // Adds records of 64 KB.
    void AppendLarge(uint32_t first, uint32_t count) {
        std::ofstream file(Path(LogName("oper")), std::ios::binary | std::ios::app);
        for (uint32_t i = first; i < first + count; ++i) {
            file << LogFrame(i, Fields(static_cast<int>(i), detail_ + std::to_string(i)));
        }
    }

    const std::string detail_ = std::string(size_t{64} << 10, 'x');
};

TEST_F(Memory, HoldsFewOfTheLastRecordsWhenTheyAreLarge) {
    AppendLarge(1, 1500);
    const ProgramResult result = Run({"-n", "1400", "--fields", "line", Path()});
    EXPECT_EQ(CountIn(result.output, "88\n"), 1400);
    EXPECT_LT(result.peakMemory, 64 * kMegabyte);
}

TEST_F(Memory, HoldsLittleBehindATornRecord) {
    const std::string torn = LogFrame(1, Fields(1, "torn"));
    WriteFile(Path(LogName("oper")), torn.substr(0, torn.size() - 7));
    AppendLarge(2, 1500);
    const ProgramResult result = Run({"-c", Path()});
    EXPECT_EQ(result.output, "1501\n");
    EXPECT_EQ(CountIn(result.errors, "record 1 is torn"), 1) << result.errors;
    EXPECT_LT(result.peakMemory, 64 * kMegabyte);
}

TEST_F(Memory, HoldsLittleOfEachOfManySeriesBackwards) {
    std::string text;
    for (uint32_t i = 1; i <= 600; ++i) {
        text += LogFrame(i, Fields(static_cast<int>(i), std::string(1800, 'x')));
    }
    for (int process = 1; process <= 200; ++process) {
        WriteFile(Path(LogName("oper", 0, process)), text);
    }
    const ProgramResult result = Run({"-n", "1", "--fields", "line", Path()});
    EXPECT_EQ(result.output, "88\n");
    EXPECT_EQ(result.errors, "");
    EXPECT_LT(result.peakMemory, 192 * kMegabyte);
}

}  // namespace
