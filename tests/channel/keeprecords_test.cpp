// A log file that keeps its records: writes that fail, and the pauses then.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "channel/keeprecordsfixture.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

constexpr int64_t kMillisecond = 1000;
constexpr int64_t kSecond = 1000000;

TEST_F(KeepRecords, StaysInTheFileThatFailed) {
    Write("one");
    for (const size_t torn : {0u, 1u, 50u, 130u}) {
        Calls().ScriptWrites([torn](uint64_t number, std::string_view) {
            return number == 1 && torn != 0 ? Fate{torn, 0} : Fate{0, ENOSPC};
        });
        Write("lost");
        EXPECT_EQ(Written(), Created() + Frame(1, "one"));
        Calls().ScriptWrites(nullptr);
        Calls().LetPass(kSecond);
    }
    EXPECT_TRUE(file_->IsOpen());
    EXPECT_EQ(Counts().failing.Get(), 1u);
    EXPECT_EQ(Counts().failures.Get(), 4u);
    EXPECT_EQ(Counts().lastErrorFile.Get(), file_->CurrentPath());
    Write("six");
    EXPECT_EQ(Counts().failing.Get(), 0u);
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(6, "six"));
    EXPECT_EQ(Dropped(), 4u);
}

TEST_F(KeepRecords, TriesAgainAfterAPauseThatGrowsUpToOneSecond) {
    Write("one");
    Fail(UINT64_MAX);
    Write("tries");
    uint64_t tries = 1;
    for (const int64_t pause : {1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1000, 1000, 1000}) {
        Calls().LetPass(pause * kMillisecond - 1);
        Write("in the pause");
        EXPECT_EQ(Calls().Writes(), tries) << pause;
        Calls().LetPass(1);
        Write("tries");
        EXPECT_EQ(Calls().Writes(), ++tries) << pause;
    }
    EXPECT_EQ(Dropped(), 2 * tries - 1);
    Calls().ScriptWrites(nullptr);
    Calls().LetPass(kSecond);
    Write("back");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(2 * tries + 1, "back"));
    Fail(1);
    Write("lost");
    Calls().LetPass(kMillisecond);
    Write("the first pause is short again");
    EXPECT_EQ(Dropped(), 2 * tries);
}

TEST_F(KeepRecords, LeavesNoFileThatCouldNotTakeItsFirstLine) {
    Fail(3);
    for (int i = 0; i < 3; ++i) {
        Write("lost");
        EXPECT_EQ(CountFiles(), 0u);
        EXPECT_FALSE(file_->IsOpen());
        EXPECT_EQ(file_->CurrentPath(), "");
        Calls().LetPass(kSecond);
    }
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number == 1 ? Fate{20, 0} : number == 2 ? Fate{0, ENOSPC} : Fate();
    });
    Write("lost");
    EXPECT_EQ(CountFiles(), 0u);
    Calls().LetPass(kSecond);
    Write("five");
    EXPECT_EQ(Written(), Created() + Frame(5, "five"));
    EXPECT_EQ(Counts().bytesWritten.Get(), Written().size());
}

// A file system that was mounted anew may take records through a new descriptor only.
TEST_F(KeepRecords, GoesOnInAFileThatFailedThroughAnotherDescriptorOnceItIsReopened) {
    Write("one");
    const std::vector<int> before = DescriptorsOf(file_->CurrentPath());
    Fail(1, EIO);
    Write("lost");
    file_->Reopen();
    const std::vector<int> after = DescriptorsOf(file_->CurrentPath());
    EXPECT_EQ(after.size(), 1u);
    EXPECT_NE(after, before);
    Write("three");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(3, "three"));
    EXPECT_EQ(Counts().rotations.Get(), 0u);
}

// What stood in it is not this process's to remove.
TEST_F(KeepRecords, LeavesAFileAsItWasThatCannotTakeAnotherFirstLine) {
    WriteFile(Path("log/" + NameNow()), Created() + Frame(1, "one"));
    Fail(1);
    Write("lost");
    EXPECT_EQ(Written(), Created() + Frame(1, "one"));
}

TEST_F(KeepRecords, OpensNoFileInThePause) {
    RefuseFiles();
    for (int i = 0; i < 100; ++i) {
        Write("lost");
    }
    EXPECT_EQ(Calls().Opens(), 1u);
    WriteBatch({"lost", "lost"});
    EXPECT_FALSE(file_->EnsureOpen());
    file_->CountDropped(7);
    EXPECT_EQ(Dropped(), 109u);
    Calls().LetPass(kMillisecond);
    Calls().ScriptOpens(nullptr);
    Write("back");
    EXPECT_EQ(Written(), Created() + Frame(110, "back"));
}

TEST_F(KeepRecords, GoesOnInAFullFileWhereNoOtherCanBeHad) {
    Make(200);
    Calls().StopMonotonicClock();
    Write("one");
    SetClockTo(1);
    RefuseFiles();
    for (int i = 2; i <= 20; ++i) {
        Write("more");
    }
    EXPECT_EQ(Calls().Opens(), 1u);
    EXPECT_EQ(Counts().recordsWritten.Get(), 20u);
    EXPECT_EQ(Dropped(), 0u);
    EXPECT_EQ(Counts().failures.Get(), 1u);
    EXPECT_EQ(Counts().failing.Get(), 0u);
    Calls().ScriptOpens(nullptr);
    SetClockTo(2);
    Write("the last in this file");
    Write("the first in the next");
    EXPECT_EQ(ReadFile(Path("log/" + NameAfter(2))),
              Created(2) + Frame(22, "the first in the next"));
}

TEST_F(KeepRecords, GivesUpABatchAfterItsFirstFailure) {
    file_->EnsureOpen();
    const std::string whole = Frame(1, "text") + Frame(2, "text");
    Calls().ScriptWrites([&whole](uint64_t number, std::string_view) {
        return number == 1 ? Fate{whole.size() + 20, 0} : Fate{0, ENOSPC};
    });
    WriteBatch(Texts(1000, "text"));
    EXPECT_EQ(Calls().Writes(), 2u);
    EXPECT_EQ(Written(), Created() + whole);
    EXPECT_EQ(Dropped(), 998u);
    Calls().LetPass(kMillisecond);
    Calls().ScriptWrites(nullptr);
    WriteBatch({"back"});
    EXPECT_EQ(Written(), Created() + whole + Frame(1001, "back"));
    EXPECT_EQ(Calls().Opens(), 1u);
}

// Also when the pause is over before all of them are counted.
TEST_F(KeepRecords, TriesNoneOfTheOthersOfABatchThatFailed) {
    Calls().StopMonotonicClock(600);
    RefuseFiles();
    WriteBatch(Texts(1000, "text"));
    EXPECT_EQ(Calls().Opens(), 1u);
    EXPECT_EQ(Dropped(), 1000u);
}

TEST_F(KeepRecords, LeavesOfADumpItsTriggerInTheSameFile) {
    Write("one");
    Fail(1);
    WriteDump("error", {WithDetail("kept", 3), WithDetail("kept too", 3)});
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + DumpFrame(2, "error"));
    EXPECT_EQ(Dropped(), 2u);
    Fail(2);
    WriteDump("error", {WithDetail("kept", 3)});
    WriteDump("error in the pause", {WithDetail("kept", 3)});
    EXPECT_EQ(Dropped(), 6u);
    Calls().LetPass(kSecond);
    WriteDump("back");
    EXPECT_EQ(Written(),
              Created() + Frame(1, "one") + DumpFrame(2, "error") + DumpFrame(5, "back"));
}

// An error of the file itself, not of the disk's room.
TEST_F(KeepRecords, BeginsTheNextFileWhereTheFileIsDamaged) {
    Write("one");
    Fail(1, EIO);
    Write("lost");
    EXPECT_EQ(CountFiles(), 1u);
    SetClockTo(1);
    Calls().LetPass(kMillisecond);
    Write("three");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Closed(1) + Created(1) + Frame(3, "three"));
    // A file without a record is no better left for the next one.
    Make();
    Calls().StopMonotonicClock();
    file_->EnsureOpen();
    Fail(UINT64_MAX, EIO);
    for (int i = 1; i <= 9; ++i) {
        SetClockTo(i);
        Write("lost");
        Calls().LetPass(kSecond);
    }
    EXPECT_EQ(CountFiles(), 1u);
    EXPECT_EQ(Calls().Writes(), 9u);
}

TEST_F(KeepRecords, OpensItsFileAgainWhenSomebodyHasClosedIt) {
    Write("one");
    const int descriptor = DescriptorsOf(file_->CurrentPath()).at(0);
    // Another file has its number by now, and keeps it.
    const int other = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(dup2(other, descriptor), descriptor);
    Write("lost");
    EXPECT_EQ(Counts().lastError.Get(), static_cast<uint64_t>(EBADF));
    EXPECT_EQ(close(descriptor), 0);
    close(other);
    Calls().LetPass(kMillisecond);
    Write("three");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Created() + Frame(3, "three"));
    EXPECT_EQ(Counts().recordsWritten.Get(), 2u);
    EXPECT_EQ(Dropped(), 1u);
}

// The file may not grow, but the next one may.
TEST_F(KeepRecords, TakesAFileThatMayNotGrowForAFullOne) {
    LetFilesDiffer();
    for (const bool batch : {false, true}) {
        SCOPED_TRACE(batch);
        Make();
        {
            const FileSizeLimit scope(700);
            batch ? WriteBatch(Texts(20, "text")) : [this] {
                for (int i = 0; i < 20; ++i) {
                    Write("text");
                }
            }();
            WriteDump("error", {WithDetail("kept", 3)});
        }
        EXPECT_EQ(Dropped(), 0u);
        EXPECT_EQ(Counts().recordsWritten.Get(), 21u);
        EXPECT_GT(CountFiles(), 4u);
        const auto records = OfKind(ParseLogDirectory(Path("log")), ParsedPiece::RECORD);
        ASSERT_EQ(records.size(), 20u);
        EXPECT_EQ(records.back().number, 20u);
    }
}

TEST_F(KeepRecords, TakesALimitBelowItsRecordsForAFullDisk) {
    Write("one");
    const uint64_t size = Written().size();
    {
        const FileSizeLimit scope(100);
        for (int i = 1; i <= 9; ++i) {
            SetClockTo(i);
            Write("lost");
            Calls().LetPass(kSecond);
        }
        EXPECT_EQ(Written().size(), size);
        EXPECT_EQ(CountFiles(), 1u);
    }
    Write("eleven");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(11, "eleven"));
    EXPECT_EQ(Dropped(), 9u);
}

TEST_F(KeepRecords, RemembersWhatItHasWrittenIntoAFileThatItContinues) {
    for (const int second : {0, 1, 0}) {
        SetClockTo(second);
        file_->Open();
        Write("text");
    }
    SetPolicy(FilePolicy::kContract);
    file_->Open();
    EXPECT_EQ(Counts().writtenOverwritten.Get(), 2u);
}

TEST_F(KeepRecords, TriesAtOnceAfterAnOrderedRotationThatChangesNothing) {
    Write("one");
    Fail(1);
    Write("lost");
    file_->Rotate();
    Write("three");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(3, "three"));
}

TEST_F(KeepRecords, NoLongerFailsOnceAFileIsOpen) {
    RefuseFiles();
    Write("lost");
    EXPECT_EQ(Counts().failing.Get(), 1u);
    Calls().ScriptOpens(nullptr);
    file_->Rotate();
    EXPECT_EQ(Written(), Created());
    EXPECT_EQ(Counts().failing.Get(), 0u);
}

TEST_F(KeepRecords, MayBeSwitchedOffInAPause) {
    Write("one");
    Fail(1);
    Write("lost");
    SetClockTo(1);
    SetPolicy(FilePolicy::kContract);
    Write("three");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(3, "three"));
    Fail(1);
    Write("lost");
    Write("five");
    EXPECT_EQ(ReadFile(Path("log/" + NameAfter(1))), Created(1) + Frame(5, "five"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
