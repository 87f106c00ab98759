// Which log files there are, and which have gone.
#include "ship/filefinder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

namespace fs = std::filesystem;

using namespace NS_LOG_FLEET;
using namespace NS_TEST;

class FileFinderTest : public DirectoryTest {
  protected:
    FileFinderTest() { WriteFile(log_, "one\n"); }

    // What the shipper does now and then.
    void Look() {
        finder_.Find(files_);
        removed_ = FileFinder::TakeRemoved(files_).size();
    }

    // All of it has arrived.
    static void Close(HostFile& file) {
        file.file->Look(ShippedFile::Clock::now());
        file.first = file.file->First();
        file.isOpen = true;
        file.status = file.file->Status();
        file.file.reset();
    }

    const std::string log_ = Path("log/unbi_debug_20260305_140709_1.log");
    FileFinder finder_{{Path("log")}};
    std::vector<HostFile> files_;
    size_t removed_ = 0;  // by the last look
};

TEST_F(FileFinderTest, KeepsARemovedFileUntilItIsClosed) {
    Look();
    fs::remove(log_);
    Look();
    ASSERT_EQ(files_.size(), 1U);
    Close(files_[0]);
    Look();
    EXPECT_EQ(files_.size(), 0U);
    EXPECT_EQ(removed_, 1U);
}

TEST_F(FileFinderTest, KnowsAFileThatWasMovedAwayAndBack) {
    Look();
    fs::rename(log_, Path("elsewhere"));
    Look();
    EXPECT_EQ(files_.size(), 1U);
    fs::rename(Path("elsewhere"), log_);
    Look();
    ASSERT_EQ(files_.size(), 1U);
    Close(files_[0]);
    Look();
    EXPECT_EQ(files_.size(), 1U);
    EXPECT_EQ(removed_, 0U);
}

TEST_F(FileFinderTest, TakesNoFileForRemovedThatCannotBeLookedAt) {
    Look();
    ASSERT_EQ(files_.size(), 1U);
    Close(files_[0]);
    fs::rename(Path("log"), Path("elsewhere"));
    fs::create_symlink("log", Path("log"));
    Look();
    EXPECT_EQ(files_.size(), 1U);
    EXPECT_EQ(removed_, 0U);
}

TEST_F(FileFinderTest, FindsAnotherFileOfTheSameName) {
    Look();
    fs::rename(log_, Path("elsewhere"));
    WriteFile(log_, "other\n");
    Look();
    ASSERT_EQ(files_.size(), 2U);
    Close(files_[0]);
    Look();
    EXPECT_EQ(files_.size(), 1U);
    EXPECT_EQ(removed_, 1U);
}

TEST_F(FileFinderTest, TakesAClosedFileForRemovedThatItWasGivenByItsOwnPath) {
    FileFinder finder({log_});
    finder.Find(files_);
    ASSERT_EQ(files_.size(), 1U);
    Close(files_[0]);
    fs::remove(log_);
    finder.Find(files_);
    EXPECT_EQ(FileFinder::TakeRemoved(files_).size(), 1U);
    EXPECT_TRUE(files_.empty());
}

TEST_F(FileFinderTest, TakesAClosedFileForRemovedThatAnotherOneHasReplaced) {
    Look();
    ASSERT_EQ(files_.size(), 1U);
    Close(files_[0]);
    fs::rename(log_, Path("elsewhere"));
    WriteFile(log_, "other\n");
    Look();
    EXPECT_EQ(removed_, 1U);
    EXPECT_EQ(files_.size(), 1U);
}

TEST_F(FileFinderTest, GoesOnAtTheEndOfAClosedFileThatHasGrown) {
    Look();
    ASSERT_EQ(files_.size(), 1U);
    files_[0].NoteLeftOut({0, 3});
    Close(files_[0]);
    WriteFile(log_, "one\ntwo\n");
    Look();
    ASSERT_EQ(files_.size(), 1U);
    ASSERT_TRUE(files_[0].file);
    EXPECT_EQ(files_[0].file->Offset(), 4U);
    EXPECT_EQ(files_[0].leftOut.size(), 1U);
    EXPECT_NE(files_[0].Problem(), "");
    EXPECT_TRUE(files_[0].isOpen);
}

TEST_F(FileFinderTest, BeginsAgainWithAClosedFileThatHasOtherContents) {
    Look();
    for (const char* const contents : {"other\n", "oth\n", "o\n"}) {
        SCOPED_TRACE(contents);
        ASSERT_EQ(files_.size(), 1U);
        Close(files_[0]);
        WriteFile(log_, contents);
        Look();
        ASSERT_EQ(files_.size(), 1U);
        ASSERT_TRUE(files_[0].file);
        EXPECT_FALSE(files_[0].isOpen);
    }
}

TEST_F(FileFinderTest, BeginsAgainWithAClosedFileThatHasLostItsEnd) {
    WriteFile(log_, "one\ntwo\n");
    Look();
    ASSERT_EQ(files_.size(), 1U);
    Close(files_[0]);
    WriteFile(log_, "one\n");
    Look();
    ASSERT_EQ(files_.size(), 1U);
    EXPECT_FALSE(files_[0].isOpen);
}

TEST_F(FileFinderTest, TellsWhetherItHasSeenAllThatThereMayBe) {
    FileFinder file({log_});
    EXPECT_TRUE(file.Find(files_).empty());
    EXPECT_TRUE(file.HasSearchedAll());
    fs::remove(log_);
    EXPECT_TRUE(file.Find(files_).empty()) << "it may have been removed because it was sent";
    EXPECT_TRUE(file.HasSearchedAll());

    Look();
    EXPECT_TRUE(finder_.HasSearchedAll());
    fs::remove(Path("log"));
    EXPECT_EQ(finder_.Find(files_).size(), 1U);
    EXPECT_TRUE(finder_.Find(files_).empty()) << "it is told once";
    EXPECT_FALSE(finder_.HasSearchedAll());
    file.Find(files_);
    EXPECT_FALSE(file.HasSearchedAll());
}

}  // namespace
