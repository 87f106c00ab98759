// Moving a log file to another directory or another prefix.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "channel/channelfixture.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class ChangePath : public LogFileTest {
  protected:
    ChangePath() { Make(10000000, "old"); }

    void MoveTo(const std::string& directory, const std::string& prefix = "unbi_debug_") {
        EXPECT_EQ(file_->ChangePath(Path(directory), prefix), 0);
    }
    std::string PathIn(const std::string& directory) const {
        return Path(directory + "/" + NameNow());
    }

    // The old file, and what it is in the new one.
    const std::string old_ = Created() + Frame(1, "one") + Closed();
    const std::string moved_ = Created() + old_;
};

TEST_F(ChangePath, DoesNothingWhereNothingChanges) {
    MoveTo("old");
    EXPECT_FALSE(file_->IsOpen());
    EXPECT_EQ(ListFiles(Path()), Texts());
    Write("one");
    MoveTo("old");
    EXPECT_EQ(Written("old"), Created() + Frame(1, "one"));
    EXPECT_EQ(Calls().Opens(), 1u);
}

TEST_F(ChangePath, OpensAFileWhereNoneIsOpen) {
    MoveTo("new");
    EXPECT_EQ(file_->CurrentPath(), PathIn("new"));
    EXPECT_EQ(Written("new"), Created());
    EXPECT_EQ(ListFiles(Path()), Texts({"new"}));
}

// A separator at the end of the directory stays.
TEST_F(ChangePath, CarriesTheContentsToAnotherDirectoryOrPrefix) {
    for (const std::string directory : {"new", "new/", "a/b/c"}) {
        StartAfresh(directory);
        Make(10000000, "old");
        Write("one");
        MoveTo(directory);
        EXPECT_EQ(file_->CurrentPath(), PathIn(directory));
        EXPECT_EQ(CountFiles("old"), 0u);
        EXPECT_EQ(Written(directory), moved_);
        Write("two");
        EXPECT_EQ(Written(directory), moved_ + Frame(2, "two"));
        MoveTo(directory, "unbi_other_");
        EXPECT_EQ(file_->CurrentPath(), Path(directory + "/" + NameNow("unbi_other_")));
        EXPECT_EQ(CountFiles(directory), 1u);
        EXPECT_EQ(Written(directory), Created() + moved_ + Frame(2, "two") + Closed());
    }
}

// A rotation would wait for the next second there. A move is none, and is not counted as one.
TEST_F(ChangePath, HappensInTheFirstSecondOfAFileAlsoWhereRecordsAreKept) {
    file_->SetPolicy(FilePolicy::kKeepRecords);
    Write("one");
    MoveTo("new");
    EXPECT_EQ(file_->CurrentPath(), PathIn("new"));
    EXPECT_EQ(CountFiles("old"), 0u);
    EXPECT_EQ(Written("new"), moved_);
    EXPECT_EQ(Counts().rotations.Get(), 0u);
}

TEST_F(ChangePath, CarriesContentsOfAnySize) {
    for (const size_t size : {4095u, 4096u, 4097u, 8192u, 100000u, 800000u}) {
        Make(10000000, "old");
        const std::string detail(size - (Created() + Frame(1, "") + Closed()).size(), 'd');
        Write(detail);
        MoveTo("new");
        EXPECT_TRUE(Written("new") == Created() + Created() + Frame(1, detail) + Closed());
        EXPECT_EQ(CountFiles("old"), 0u);
    }
}

TEST_F(ChangePath, CountsTheContentsThatItCarries) {
    LetFilesDiffer();
    for (const bool reaches : {true, false}) {
        StartAfresh("new");
        Make(moved_.size() + Frame(2, "two").size() + (reaches ? 0 : 1), "old");
        Write("one");
        MoveTo("new");
        EXPECT_EQ(CountFiles("new"), 1u);
        Write("two");
        EXPECT_EQ(CountFiles("new"), reaches ? 2u : 1u);
    }
}

TEST_F(ChangePath, KnowsHowManyRecordsTheContentsAreThatItCarries) {
    Write("one");
    WriteDump("two", {WithDetail("kept"), WithDetail("kept too")});
    MoveTo("new");
    Write("three");
    file_->Open();  // within the same second, so the file is emptied
    EXPECT_EQ(Counts().writtenOverwritten.Get(), 3u);
    EXPECT_EQ(Counts().dumpedOverwritten.Get(), 2u);
}

TEST_F(ChangePath, LeavesTheOldFileWhereTheNewOneCannotBeOpened) {
    Write("one");
    WriteFile(Path("new"), "a file in the way");
    MoveTo("new");
    EXPECT_FALSE(file_->IsOpen());
    EXPECT_EQ(ReadFile(Path("new")), "a file in the way");
    Write("two");
    fs::remove(Path("new"));
    Write("three");
    EXPECT_EQ(Written("new"), Created() + Frame(3, "three"));
    EXPECT_EQ(Written("old"), old_);
}

// The old name may lead nowhere, to no file at all, or to a file that is not the service's.
TEST_F(ChangePath, RemovesWhateverStandsUnderTheOldName) {
    for (const std::string target : {"nowhere", "", "kept"}) {
        Make(10000000, "old");
        Write("one");
        fs::rename(PathIn("old"), Path("kept"));
        if (!target.empty()) {
            fs::create_symlink(Path(target), PathIn("old"));
        }
        MoveTo("new");
        EXPECT_EQ(CountFiles("old"), 0u);
        EXPECT_EQ(ReadFile(Path("kept")), old_);
        Write("two");
        EXPECT_EQ(Written("new"), (target == "kept" ? moved_ : Created()) + Frame(2, "two"));
        StartAfresh("new");
    }
}

TEST_F(ChangePath, KeepsWhatTheNewFileCannotTake) {
    Make(21000, "old");
    const std::string large(20000, 'x');
    Write(large);
    // Room for the new file's creation line and a part of the contents.
    uint64_t room = 10000;
    Calls().ScriptWrites([&room](uint64_t number, std::string_view bytes) {
        if (number == 1) {
            return Fate();  // the old file's closing line
        }
        const size_t part = std::min<size_t>(bytes.size(), room);
        room -= part;
        return part > 0 ? Fate{part, 0} : Fate{0, ENOSPC};
    });
    MoveTo("new");
    Calls().ScriptWrites(nullptr);
    EXPECT_EQ(Written("old"), Created() + Frame(1, large) + Closed());
    // What was taken back does not count: the file has room for this record.
    const std::string next(15000, 'y');
    Write(next);
    EXPECT_EQ(Written("new"), Created() + Frame(2, next));
}

// Other spellings of the old directory. In one second both files have the same name: what was open
// is the new file already, and must not be removed.
TEST_F(ChangePath, ToTheSamePlaceKeepsTheFile) {
    fs::create_directory_symlink(Path("old"), Path("link"));
    for (const char* const same : {"old/", "old/.", "./old", "link", "old/../old"}) {
        SCOPED_TRACE(same);
        for (const bool inTheSameSecond : {true, false}) {
            Make(10000000, "old");
            fs::create_directories(Path("old"));
            Calls().SetClock(SystemCalls::kStart, inTheSameSecond ? 0 : 1);
            Write("one");
            MoveTo(same);
            Write("two");
            EXPECT_EQ(CountFiles("old"), 1u);
            EXPECT_EQ(Written("old"),
                      (inTheSameSecond ? Created()
                                       : Created(1) + Created() + Frame(1, "one") + Closed(1)) +
                          Frame(2, "two"));
        }
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
