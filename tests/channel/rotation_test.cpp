// When a log file gives way to the next one.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "channel/channelfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class Rotation : public LogFileTest {
  protected:
    Rotation() { LetFilesDiffer(); }
};

// The record that reaches the limit is completed in its file.
TEST_F(Rotation, HappensWhenTheLastByteOfTheLimitIsWritten) {
    const uint64_t exact = kCreatedSize + Frame(1, "one").size() + Frame(2, "two").size();
    const std::string first = Created() + Frame(1, "one") + Frame(2, "two");
    for (const uint64_t limit : {exact - 1, exact}) {
        Make(limit);
        Write("one");
        EXPECT_EQ(CountFiles(), 1u);
        Write("two");
        EXPECT_EQ(Written(), first + Closed(1) + Created(1));
        EXPECT_EQ(file_->CurrentPath(), Path("log/" + NameAt("20240305_140710")));
    }
    Make(exact + 1);
    Write("one");
    Write("two");
    EXPECT_EQ(Written(), first);
    const std::string large(3000, 'x');
    Write(large);
    EXPECT_EQ(Written(), first + Frame(3, large) + Closed(1) + Created(1));
}

// More files than the count limit: no file is removed because of it.
TEST_F(Rotation, CountsTheNewFileFromItsCreationLine) {
    Make(kCreatedSize + Frame(1, "one").size());
    std::string expected = Created();
    for (int i = 1; i <= 9; ++i) {
        Write("one");
        expected += Frame(static_cast<uint64_t>(i), "one") + Closed(i) + Created(i);
        EXPECT_EQ(Written(), expected);
        EXPECT_EQ(Counts().rotations.Get(), static_cast<uint64_t>(i));
        EXPECT_EQ(Counts().bytesWritten.Get(), expected.size());
    }
}

// Of a text that ends at a zero byte the rest counts for nothing.
TEST_F(Rotation, CountsWhatIsWrittenAndNotWhatIsGiven) {
    for (const std::string& rest : {std::string(), std::string(1, '\0') + std::string(1000, 'x')}) {
        Make(kCreatedSize + 2 * ShortFrame("text").size());
        Write("text" + rest, -2);
        EXPECT_EQ(CountFiles(), 1u);
        Write("text" + rest, -2);
        EXPECT_EQ(CountFiles(), 2u);
    }
}

TEST_F(Rotation, HappensAfterEveryRecordOfASmallLimitAndNeverBelowAHugeOne) {
    for (const uint64_t limit : {uint64_t{0}, uint64_t{1}, uint64_t{49}, UINT64_MAX}) {
        Make(limit);
        Write(std::string(10000, 'x'));
        Write("two");
        EXPECT_EQ(CountFiles(), limit == UINT64_MAX ? 1u : 3u);
        EXPECT_TRUE(file_->IsOpen());
    }
}

TEST_F(Rotation, TruncatesTheFileOfTheSameSecond) {
    Make(1);
    Calls().SetClock(SystemCalls::kStart, 0);
    for (uint64_t i = 1; i <= 2; ++i) {
        Write("text");
        EXPECT_EQ(ListFiles(Path("log")), Texts({NameNow()}));
        EXPECT_EQ(Written(), Created());
        EXPECT_EQ(Counts().rotations.Get(), i);
    }
}

// Closed before, it would be written to the disk, and the opening would wait for that.
TEST_F(Rotation, OpensTheFileOfTheSameSecondAgainBeforeItIsClosed) {
    Make(1);
    Calls().SetClock(SystemCalls::kStart, 0);
    const std::string path = Path("log/" + NameNow());
    std::vector<size_t> openAlready;
    Calls().ScriptOpens([&](uint64_t) {
        openAlready.push_back(DescriptorsOf(path).size());
        return 0;
    });
    for (int i = 0; i < 4; ++i) {
        Write("text");
    }
    EXPECT_EQ(openAlready, std::vector<size_t>({0, 1, 1, 1, 1}));
    EXPECT_EQ(DescriptorsOf(path).size(), 1u);
    EXPECT_EQ(Counts().rotations.Get(), 4u);
    EXPECT_EQ(Counts().writtenOverwritten.Get(), 4u);
    EXPECT_EQ(Counts().bytesWritten.Get() - Counts().bytesEmptied.Get(), kCreatedSize);
}

TEST_F(Rotation, ClosesTheFileFirstWhereThereIsNoDescriptorLeft) {
    for (const int error : {EMFILE, ENFILE}) {
        Make(1);
        Calls().SetClock(SystemCalls::kStart, 0);
        const std::string path = Path("log/" + NameNow());
        size_t openAlready = 1;
        Calls().ScriptOpens([&](uint64_t number) {
            openAlready = DescriptorsOf(path).size();
            return number == 2 ? error : 0;
        });
        Write("text");
        EXPECT_EQ(Calls().Opens(), 3u) << error;
        EXPECT_EQ(openAlready, 0u) << error;
        EXPECT_TRUE(file_->IsOpen());
        EXPECT_EQ(Counts().failures.Get(), 0u) << error;
    }
}

// Somebody has closed its descriptor, and has got the number for a file of their own.
TEST_F(Rotation, EmptiesNoFileThatHasItsDescriptorNow) {
    Make(kCreatedSize + Frame(1, "one").size());
    Calls().SetClock(SystemCalls::kStart, 0);
    WriteFile(Path("stranger"), "kept");
    const int stranger = ::open(Path("stranger").c_str(), O_RDWR | O_APPEND);
    const int next = ::dup(stranger);  // the number that the log file gets
    ::close(next);
    file_->EnsureOpen();
    ASSERT_EQ(::dup2(stranger, next), next);
    ::close(stranger);
    Write("one");
    EXPECT_EQ(ReadFile(Path("stranger")).substr(0, 4), "kept");
}

TEST_F(Rotation, OpensAFileAnewThatFails) {
    Make(1000000);
    Calls().SetClock(SystemCalls::kStart, 0);
    file_->EnsureOpen();
    Calls().ScriptOpens(nullptr);
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return SystemCalls::Fate{0, number <= 3 ? EIO : 0};
    });
    Write("one");
    EXPECT_EQ(Calls().Opens(), 1u);
}

// Whoever moves the file keeps what is in it.
TEST_F(Rotation, LeavesAFileAloneThatWasMovedWithinItsSecond) {
    Make(kCreatedSize + Frame(1, "one").size());
    Calls().SetClock(SystemCalls::kStart, 0);
    file_->EnsureOpen();
    const std::string name = NameNow();
    std::filesystem::rename(Path("log/" + name), Path("moved"));
    Write("one");
    EXPECT_EQ(ReadFile(Path("moved")), Created() + Frame(1, "one") + Closed());
    EXPECT_EQ(ReadFile(Path("log/" + name)), Created());
    EXPECT_EQ(Counts().writtenOverwritten.Get(), 0u);
}

TEST_F(Rotation, LeavesTheObjectClosedWhereTheNextFileCannotBeOpened) {
    Make(1);
    Calls().ScriptOpens([](uint64_t number) { return number == 2 || number == 3 ? EMFILE : 0; });
    Write("one");
    EXPECT_FALSE(file_->IsOpen());
    EXPECT_FALSE(file_->HasFile());
    EXPECT_EQ(file_->CurrentPath(), "");
    EXPECT_EQ(file_->Opened().path, "");
    Write("two");
    EXPECT_FALSE(file_->IsOpen());
    const std::string expected = Created() + Frame(1, "one") + Closed(1);
    EXPECT_EQ(Written(), expected);
    Write("three");
    EXPECT_EQ(Written(), expected + Created(1) + Frame(3, "three") + Closed(2) + Created(2));
}

TEST_F(Rotation, HappensBehindADumpAndNeverInsideOne) {
    const std::string lines = DumpedFrame(std::string(500, 'x')) + DumpedFrame("kept");
    const std::string dump = DumpFrame(1, "error", lines);
    const uint64_t exact = kCreatedSize + dump.size();
    for (const uint64_t limit : {uint64_t{100}, exact, exact + 1}) {
        Make(limit);
        WriteDump("error", {WithDetail(std::string(500, 'x'), 3), WithDetail("kept", 3)});
        EXPECT_EQ(Written(), Created() + dump + (limit <= exact ? Closed(1) + Created(1) : ""));
    }
}

TEST_F(Rotation, CostsThreeSystemCallsInABatch) {
    Make(kCreatedSize + 3 * Frame(1, "text").size());
    file_->EnsureOpen();
    Calls().ScriptWrites(nullptr);
    WriteBatch(Texts(9, "text"));
    // A batch, a closing line and a creation line for each of three files.
    EXPECT_EQ(CountFiles(), 4u);
    EXPECT_EQ(Calls().Writes(), 9u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
