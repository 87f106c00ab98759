// What becomes of records and files when writing fails.
#include <gtest/gtest.h>

#include <string>

#include "channel/channelfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class WriteFailure : public LogFileTest {
  protected:
    WriteFailure() { LetFilesDiffer(); }

    // So many calls fail from now on.
    static void Fail(uint64_t count, int error = ENOSPC) {
        Calls().ScriptWrites([count, error](uint64_t number, std::string_view) {
            return number <= count ? Fate{0, error} : Fate();
        });
    }
    // The next call takes so many bytes, the one behind it fails.
    static void Tear(size_t bytes) {
        Calls().ScriptWrites([bytes](uint64_t number, std::string_view) {
            return number == 1 ? Fate{bytes, 0} : number == 2 ? Fate{0, ENOSPC} : Fate();
        });
    }
};

TEST_F(WriteFailure, LosesTheRecordAndBeginsANewFile) {
    Write("one");
    std::string expected = Created() + Frame(1, "one");
    // Nothing of the record is written, or a part of it, which is taken back.
    const size_t torn[] = {0, 1, 4, 50, 130};
    for (int i = 1; i <= 5; ++i) {
        torn[i - 1] == 0 ? Fail(1) : Tear(torn[i - 1]);
        Write("lost");
        expected += Closed(i) + Created(i);
        EXPECT_EQ(Written(), expected);
        EXPECT_EQ(Counts().recordsDropped.Get(), static_cast<uint64_t>(i));
        EXPECT_EQ(Counts().rotations.Get(), static_cast<uint64_t>(i));
    }
    Write("seven");
    EXPECT_EQ(Written(), expected + Frame(7, "seven"));
    EXPECT_EQ(Counts().recordsWritten.Get(), 2u);
    EXPECT_EQ(Counts().bytesWritten.Get(), Written().size());
    EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(ENOSPC));
}

// The history is lost as a whole; the error itself goes into the next file, under its number.
TEST_F(WriteFailure, LeavesOfADumpItsTriggerInTheNextFile) {
    Write("one");
    std::string expected = Created() + Frame(1, "one");
    const size_t torn[] = {10, 150, 250, 480};
    for (int i = 1; i <= 4; ++i) {
        Tear(torn[i - 1]);
        WriteDump("error", {WithDetail("kept", 3), WithDetail("kept too", 3)});
        expected += Closed(i) + Created(i) + DumpFrame(static_cast<uint64_t>(i) + 1, "error");
        EXPECT_EQ(Written(), expected);
        EXPECT_EQ(Counts().recordsDropped.Get(), 2u * static_cast<uint64_t>(i));
        EXPECT_EQ(Counts().recordsWritten.Get(), 1u + static_cast<uint64_t>(i));
    }
    EXPECT_EQ(Counts().recordsDumped.Get(), 0u);
}

TEST_F(WriteFailure, ThatLastsLosesTheTriggerOfADumpToo) {
    Write("one");
    Fail(UINT64_MAX);
    WriteDump("error", {WithDetail("kept", 3)});
    EXPECT_EQ(Counts().recordsDropped.Get(), 2u);
    EXPECT_EQ(Counts().recordsWritten.Get(), 1u);
}

TEST_F(WriteFailure, OfADumpBeforeWhichNoNewFileCanBeMadeLosesTriggerAndHistory) {
    Write("one");
    Fail(1);
    RefuseFiles();
    WriteDump("error", {WithDetail("kept", 3), WithDetail("kept too", 3)});
    EXPECT_EQ(Counts().recordsDropped.Get(), 3u);
    EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(EMFILE));
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Closed(1));
    EXPECT_FALSE(file_->IsOpen());
    EXPECT_EQ(file_->CurrentPath(), "");
}

TEST_F(WriteFailure, OfTheCreationLineLeavesTheFileOpen) {
    for (const bool torn : {false, true}) {
        torn ? Tear(20) : Fail(1);
        EXPECT_TRUE(file_->EnsureOpen());
        EXPECT_EQ(Written(), "");
        Write("one");
        EXPECT_EQ(Written(), Frame(1, "one"));
        Make();
    }
}

TEST_F(WriteFailure, OfTheClosingLineIsTriedAgainOnce) {
    for (const int way : {0, 1, 2}) {
        Make();
        Write("one");
        way == 0 ? Fail(1) : way == 1 ? Fail(100) : Tear(20);
        file_->Close();
        EXPECT_FALSE(file_->IsOpen());
        EXPECT_EQ(Calls().Writes(), way == 2 ? 3u : 2u);
        EXPECT_EQ(Written(), Created() + Frame(1, "one") + (way == 1 ? "" : Closed(1)));
    }
}

TEST_F(WriteFailure, ThatLastsTriesOneNewFileForEachRecord) {
    Write("one");
    Fail(UINT64_MAX, EIO);
    Calls().ScriptOpens(nullptr);
    for (uint64_t i = 1; i <= 10; ++i) {
        Write("lost");
        EXPECT_EQ(Calls().Opens(), i);
    }
    Calls().ScriptWrites(nullptr);
    Write("back");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(12, "back"));
}

TEST_F(WriteFailure, InABatchLosesOnlyTheRecordThatTore) {
    file_->EnsureOpen();
    Tear(Frame(1, "one").size() + Frame(2, "two").size() + 20);
    WriteBatch({"one", "two", "three", "four"});
    std::string expected =
        Created() + Frame(1, "one") + Frame(2, "two") + Closed(1) + Created(1) + Frame(4, "four");
    EXPECT_EQ(Written(), expected);
    // Between two records: the second one is lost.
    Tear(Frame(5, "five").size());
    WriteBatch({"five", "six", "seven"});
    expected += Frame(5, "five") + Closed(2) + Created(2) + Frame(7, "seven");
    EXPECT_EQ(Written(), expected);
    EXPECT_EQ(Counts().recordsDropped.Get(), 2u);
    EXPECT_EQ(Counts().bytesWritten.Get(), expected.size());
}

TEST_F(WriteFailure, AtAFileSizeLimitLeavesWholeRecords) {
    for (size_t limit = 0; limit < 700; limit += 13) {
        SCOPED_TRACE(limit);
        Make();
        {
            const FileSizeLimit scope(limit);
            for (int i = 0; i < 6; ++i) {
                Write("text");
            }
        }
        Write("text");
        file_->Close();
        const auto records = OfKind(ParseLogDirectory(Path("log")), ParsedPiece::RECORD);
        ASSERT_FALSE(records.empty());
        EXPECT_EQ(records.back().number, 7u);
        // As many as fit into each file, and then one that is lost.
        const size_t fit =
            (std::max<size_t>(limit, kCreatedSize) - kCreatedSize) / Frame(1, "text").size();
        EXPECT_EQ(records.size(), fit == 0 ? 1 : 6 - 6 / (fit + 1) + 1);
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
