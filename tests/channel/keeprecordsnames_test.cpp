// A log file that keeps its records: names that are taken.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "channel/keeprecordsfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

TEST_F(KeepRecords, ContinuesAFileThatHasTheName) {
    Write("one");
    Restart();
    Write("two");
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Closed() + Created() + Frame(1, "two"));
    EXPECT_EQ(CountFiles(), 1u);
    EXPECT_EQ(Counts().bytesWritten.Get(), Created().size() + Frame(1, "two").size());
    EXPECT_EQ(Counts().bytesEmptied.Get(), 0u);
}

TEST_F(KeepRecords, CountsWhatItFindsTowardsTheSizeOfTheFile) {
    Write("one");
    Restart(2 * kCreatedSize + 2 * Frame(1, "one").size() + Closed().size());
    SetClockTo(0);
    file_->EnsureOpen();
    SetClockTo(1);
    Write("two");
    EXPECT_EQ(ListFiles(Path("log")), Texts({NameAfter(0), NameAfter(1)}));
}

TEST_F(KeepRecords, CutsAwayATornRecordOfAnEarlierProcess) {
    const std::string whole = Created() + Frame(1, "one");
    for (const std::string& torn :
         {Frame(2, "two").substr(0, 60), std::string("<2"), DumpFrame(2, "two").substr(0, 150)}) {
        file_.reset();
        WriteFile(Path("log/" + NameNow()), whole + torn);
        Restart();
        Write("three");
        EXPECT_EQ(Written(), whole + Created() + Frame(1, "three"));
    }
}

// Until the second is over there is no other name. The file takes more than it should meanwhile.
TEST_F(KeepRecords, StaysInAFileThatIsFullWithinItsSecond) {
    Make(200);
    std::string expected = Created();
    for (uint64_t number = 1; number <= 5; ++number) {
        Write("text");
        expected += Frame(number, "text");
    }
    WriteBatch({"text", "text"});
    expected += Frame(6, "text") + Frame(7, "text");
    EXPECT_EQ(Written(), expected);
    EXPECT_EQ(Calls().Opens(), 1u);
    SetClockTo(1);
    Write("last");
    EXPECT_EQ(Written(), expected + Frame(8, "last") + Closed(1) + Created(1));
    EXPECT_EQ(Counts().rotations.Get(), 1u);
}

// That is no next file, though it has the next name: it is just as full.
TEST_F(KeepRecords, TriesAFullFileOnceThoughALinkToItHasTheNextName) {
    Write("one");
    std::filesystem::create_hard_link(file_->CurrentPath(), Path("log/" + NameAfter(1)));
    SetClockTo(1);
    {
        const FileSizeLimit scope(ReadFile(file_->CurrentPath()).size() + 10);
        Write("lost");
    }
    EXPECT_EQ(Counts().failures.Get(), 1u);
}

TEST_F(KeepRecords, WritesABatchThatGoesBeyondTheSizeOfTheFileAtOnce) {
    Make(200);
    WriteBatch({"text", "text"});
    Calls().ScriptWrites(nullptr);
    WriteBatch(Texts(1000, "text"));
    EXPECT_EQ(Calls().Writes(), 1u);
    EXPECT_EQ(Counts().recordsWritten.Get(), 1002u);
}

TEST_F(KeepRecords, LosesNothingWhenTheClockIsSetBack) {
    Make(kCreatedSize + Frame(1, "0").size());
    uint64_t number = 0;
    for (const int second : {0, 1, 2, 3, 0, 1, 2, 3, 4, 2, 5}) {
        SetClockTo(second);
        Write(std::to_string(second));
        ++number;
    }
    const auto records = OfKind(ParseLogDirectory(Path("log")), ParsedPiece::RECORD);
    EXPECT_EQ(records.size(), number);
    EXPECT_EQ(Counts().recordsWritten.Get(), number);
    EXPECT_EQ(Dropped(), 0u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
