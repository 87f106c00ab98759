// When a log file gives way to the next one.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "channel/channelfixture.h"
#include "channel/logfile.h"

using NS_TEST::ClosedAt;
using NS_TEST::CreatedAt;
using NS_TEST::DumpFrame;
using NS_TEST::Frame;
using NS_TEST::kClosed;
using NS_TEST::kCreated;
using NS_TEST::ListFiles;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

// The bytes of "File create at " + stamp + ".\n".
constexpr uint64_t kCreatedSize = 49;

class Rotation : public NS_TEST::ChannelTest {
  protected:
    Rotation() { LetFilesDiffer(); }

    static void Write(LogFile& file, const std::string& detail, int level = 1) {
        file.WriteRecord(WithDetail(level, detail).Get());
    }
};

TEST_F(Rotation, HappensWhenTheLimitIsReachedExactly) {
    const uint64_t limit = kCreatedSize + Frame(1, 1, "one").size() + Frame(2, 1, "two").size();
    LogFile file(Path().c_str(), "unbi_debug_", limit, 5);
    Write(file, "one");
    EXPECT_EQ(ListFiles(Path()).size(), 1u);
    Write(file, "two");
    EXPECT_EQ(file.CurrentPath(), Path(NameAt("20240305_140710")));
    EXPECT_EQ(Contents(Path()),
              std::vector<std::string>({CreatedAt("14:07:09") + Frame(1, 1, "one") +
                                            Frame(2, 1, "two") + ClosedAt("14:07:10"),
                                        CreatedAt("14:07:10")}));
}

TEST_F(Rotation, WaitsForTheLastByteOfTheLimit) {
    const uint64_t limit = kCreatedSize + Frame(1, 1, "one").size() + Frame(2, 1, "two").size() + 1;
    LogFile file(Path().c_str(), "unbi_debug_", limit, 5);
    Write(file, "one");
    Write(file, "two");
    EXPECT_EQ(ListFiles(Path()).size(), 1u);
    Write(file, "three");
    EXPECT_EQ(
        Contents(Path()),
        std::vector<std::string>({CreatedAt("14:07:09") + Frame(1, 1, "one") + Frame(2, 1, "two") +
                                      Frame(3, 1, "three") + ClosedAt("14:07:10"),
                                  CreatedAt("14:07:10")}));
}

TEST_F(Rotation, CompletesTheRecordThatReachesTheLimit) {
    LogFile file(Path().c_str(), "unbi_debug_", 1000, 5);
    const std::string long1(300, 'a');
    const std::string long2(3000, 'b');
    Write(file, long1);
    Write(file, long2);
    Write(file, "three");
    EXPECT_EQ(Contents(Path()),
              std::vector<std::string>({CreatedAt("14:07:09") + Frame(1, 1, long1) +
                                            Frame(2, 1, long2) + ClosedAt("14:07:10"),
                                        CreatedAt("14:07:10") + Frame(3, 1, "three")}));
}

TEST_F(Rotation, CountsTheNewFileFromItsCreationLine) {
    const uint64_t limit = kCreatedSize + Frame(1, 1, "one").size();
    LogFile file(Path().c_str(), "unbi_debug_", limit, 5);
    for (int i = 1; i <= 9; ++i) {
        Write(file, "one");
        EXPECT_EQ(ListFiles(Path()).size(), static_cast<size_t>(i) + 1);
    }
    EXPECT_EQ(Contents(Path())[8],
              CreatedAt("14:07:17") + Frame(9, 1, "one") + ClosedAt("14:07:18"));
}

TEST_F(Rotation, CountsShortRecords) {
    // A short record: stamp, comma, four letters, newline.
    LogFile file(Path().c_str(), "unbi_debug_", kCreatedSize + 2 * 38, 5);
    Write(file, "text", -2);
    EXPECT_EQ(ListFiles(Path()).size(), 1u);
    Write(file, "text", -2);
    EXPECT_EQ(ListFiles(Path()).size(), 2u);
}

TEST_F(Rotation, CountsWhatIsWrittenAndNotWhatIsGiven) {
    LogFile file(Path().c_str(), "unbi_debug_", kCreatedSize + 2 * 38, 5);
    const std::string cut = std::string("text\0", 5) + std::string(1000, 'x');
    Write(file, cut, -2);
    EXPECT_EQ(ListFiles(Path()).size(), 1u);
    Write(file, cut, -2);
    EXPECT_EQ(ListFiles(Path()).size(), 2u);
}

TEST_F(Rotation, HappensAfterEveryRecordWithoutALimitToSpeakOf) {
    for (const uint64_t limit : {0u, 1u, 49u}) {
        const std::string directory = Path("limit" + std::to_string(limit));
        LogFile file(directory.c_str(), "unbi_debug_", limit, 5);
        Write(file, "one");
        Write(file, "two");
        EXPECT_EQ(ListFiles(directory).size(), 3u);
        EXPECT_TRUE(file.IsOpen());
    }
}

TEST_F(Rotation, NeverHappensBelowAHugeLimit) {
    LogFile file(Path().c_str(), "unbi_debug_", UINT64_MAX, 5);
    for (int i = 0; i < 100; ++i) {
        Write(file, std::string(10000, 'x'));
    }
    EXPECT_EQ(ListFiles(Path()).size(), 1u);
}

TEST_F(Rotation, TruncatesTheFileOfTheSameSecond) {
    Calls().SetClock(kNow, 654321, 0);
    LogFile file(Path().c_str(), "unbi_debug_", 1, 5);
    Write(file, "one");
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>({NameNow()}));
    EXPECT_EQ(ReadFile(file.CurrentPath()), kCreated);
    Write(file, "two");
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>({NameNow()}));
    EXPECT_EQ(ReadFile(file.CurrentPath()), kCreated);
    EXPECT_EQ(file.Statistics().rotations.Get(), 2u);
}

TEST_F(Rotation, TruncatesTheFileOfTheSameSecondByTheRealClockToo) {
    Calls().Reset();
    LogFile file(Path().c_str(), "unbi_debug_", 1, 5);
    for (int attempt = 0; attempt < 50; ++attempt) {
        file.EnsureOpen();
        const std::string before = file.CurrentPath();
        Write(file, "text");
        if (file.CurrentPath() == before) {
            const auto pieces = NS_TEST::ParseLogPieces(before);
            ASSERT_EQ(pieces.size(), 1u);
            EXPECT_EQ(pieces[0].kind, NS_TEST::ParsedPiece::FILE_CREATED);
            return;
        }
    }
    FAIL() << "no two files of one second in fifty attempts";
}

TEST_F(Rotation, LeavesTheObjectClosedWhereTheNextFileCannotBeOpened) {
    LogFile file(Path().c_str(), "unbi_debug_", 1, 5);
    Calls().ScriptOpens([](uint64_t number) { return number == 2 || number == 3 ? EMFILE : 0; });
    Write(file, "one");
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.CurrentPath(), "");
    EXPECT_EQ(Contents(Path()),
              std::vector<std::string>(
                  {CreatedAt("14:07:09") + Frame(1, 1, "one") + ClosedAt("14:07:10")}));
    Write(file, "two");
    EXPECT_FALSE(file.IsOpen());
    Write(file, "three");
    EXPECT_TRUE(file.IsOpen());
    const auto contents = Contents(Path());
    ASSERT_EQ(contents.size(), 3u);
    EXPECT_EQ(contents[1], CreatedAt("14:07:10") + Frame(3, 1, "three") + ClosedAt("14:07:11"));
}

TEST_F(Rotation, NeverHappensInsideADump) {
    const uint64_t limit = kCreatedSize + 100;
    LogFile file(Path().c_str(), "unbi_debug_", limit, 5);
    KeptRecords cached(128);
    std::string lines;
    for (int i = 0; i < 128; ++i) {
        const std::string detail = "kept " + std::to_string(i);
        cached.Append(PackedRecord(WithDetail(2, detail).Get()));
        lines += NS_TEST::DumpedFrame(2, detail);
    }
    file.WriteRecordWithDump(WithDetail(0, "error").Get(), cached);
    EXPECT_EQ(Contents(Path()),
              std::vector<std::string>(
                  {CreatedAt("14:07:09") + DumpFrame(1, 0, "error", lines) + ClosedAt("14:07:10"),
                   CreatedAt("14:07:10")}));
}

TEST_F(Rotation, HappensAfterADumpThatReachesTheLimitExactly) {
    const KeptRecords empty(0);
    const uint64_t size = kCreatedSize + DumpFrame(1, 0, "error", "").size();
    LogFile exact(Path("exact").c_str(), "unbi_debug_", size, 5);
    exact.WriteRecordWithDump(WithDetail(0, "error").Get(), empty);
    EXPECT_EQ(ListFiles(Path("exact")).size(), 2u);
    LogFile above(Path("above").c_str(), "unbi_debug_", size + 1, 5);
    above.WriteRecordWithDump(WithDetail(0, "error").Get(), empty);
    EXPECT_EQ(ListFiles(Path("above")).size(), 1u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
