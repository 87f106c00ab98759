// Moving a log file to another directory or another prefix.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "channel/channelfixture.h"
#include "channel/logfile.h"

namespace fs = std::filesystem;

using NS_TEST::Frame;
using NS_TEST::kClosed;
using NS_TEST::kCreated;
using NS_TEST::ListFiles;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;
using NS_TEST::WriteFile;

namespace NS_LOG_SERVICE1 {
namespace {

class ChangePath : public NS_TEST::ChannelTest {
  protected:
    ChangePath() : file_(Path("old").c_str(), "unbi_debug_", 1000000, 5) {}

    void Write(const std::string& detail) { file_.WriteRecord(WithDetail(1, detail).Get()); }
    std::string Old() const { return Path("old/" + NameNow()); }
    std::string New() const { return Path("new/" + NameNow()); }

    LogFile file_;
};

TEST_F(ChangePath, DoesNothingWhereNothingChanges) {
    Write("one");
    EXPECT_EQ(file_.ChangePath(Path("old"), "unbi_debug_"), 0);
    EXPECT_EQ(file_.CurrentPath(), Old());
    EXPECT_EQ(ReadFile(Old()), kCreated + Frame(1, 1, "one"));
    EXPECT_EQ(Calls().Opens(), 1u);
}

TEST_F(ChangePath, OpensNothingWhereNothingChangesAndNothingIsOpen) {
    EXPECT_EQ(file_.ChangePath(Path("old"), "unbi_debug_"), 0);
    EXPECT_FALSE(file_.IsOpen());
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>());
}

TEST_F(ChangePath, OpensAFileWhereNoneIsOpen) {
    EXPECT_EQ(file_.ChangePath(Path("new"), "unbi_debug_"), 0);
    EXPECT_EQ(file_.CurrentPath(), New());
    EXPECT_EQ(ReadFile(New()), kCreated);
    EXPECT_EQ(ListFiles(Path()), std::vector<std::string>({"new"}));
}

TEST_F(ChangePath, CarriesTheContentsToAnotherDirectory) {
    Write("one");
    EXPECT_EQ(file_.ChangePath(Path("new"), "unbi_debug_"), 0);
    EXPECT_EQ(file_.CurrentPath(), New());
    EXPECT_EQ(ListFiles(Path("old")), std::vector<std::string>());
    EXPECT_EQ(ReadFile(New()), kCreated + (kCreated + Frame(1, 1, "one")) + kClosed);
    Write("two");
    EXPECT_EQ(ReadFile(New()),
              kCreated + (kCreated + Frame(1, 1, "one")) + kClosed + Frame(2, 1, "two"));
}

TEST_F(ChangePath, CarriesTheContentsToAnotherPrefix) {
    Write("one");
    EXPECT_EQ(file_.ChangePath(Path("old"), "unbi_other_"), 0);
    EXPECT_EQ(file_.CurrentPath(), Path("old/" + NameNow("unbi_other_")));
    EXPECT_EQ(ListFiles(Path("old")), std::vector<std::string>({NameNow("unbi_other_")}));
    EXPECT_EQ(ReadFile(file_.CurrentPath()), kCreated + (kCreated + Frame(1, 1, "one")) + kClosed);
}

TEST_F(ChangePath, CarriesContentsOfAnySize) {
    for (const size_t size : {4095u, 4096u, 4097u, 8192u, 100000u, 800000u}) {
        const std::string base = "size" + std::to_string(size);
        LogFile file(Path(base + "a").c_str(), "unbi_debug_", 10000000, 5);
        const size_t overhead = (kCreated + Frame(1, 1, "") + kClosed).size();
        const std::string detail(size - overhead, 'd');
        file.WriteRecord(WithDetail(1, detail).Get());
        EXPECT_EQ(file.ChangePath(Path(base + "b"), "unbi_debug_"), 0);
        const std::string contents = ReadFile(file.CurrentPath());
        EXPECT_EQ(contents.size(), size + 49);
        EXPECT_TRUE(contents == kCreated + (kCreated + Frame(1, 1, detail)) + kClosed);
        EXPECT_EQ(ListFiles(Path(base + "a")), std::vector<std::string>());
    }
}

TEST_F(ChangePath, CountsTheContentsThatItCarries) {
    LetFilesDiffer();
    // The old file: creation, record, closing. The new one: its creation line and all that.
    const uint64_t carried = 49 + (49 + Frame(1, 1, "one").size() + 49);
    for (const bool reaches : {true, false}) {
        const std::string base = reaches ? "reaches" : "stays";
        const uint64_t limit = carried + Frame(2, 1, "two").size() + (reaches ? 0 : 1);
        LogFile file(Path(base + "a").c_str(), "unbi_debug_", limit, 5);
        file.WriteRecord(WithDetail(1, "one").Get());
        file.ChangePath(Path(base + "b"), "unbi_debug_");
        EXPECT_EQ(ListFiles(Path(base + "b")).size(), 1u);
        file.WriteRecord(WithDetail(1, "two").Get());
        EXPECT_EQ(ListFiles(Path(base + "b")).size(), reaches ? 2u : 1u);
    }
}

TEST_F(ChangePath, KeepsASeparatorAtTheEnd) {
    Write("one");
    file_.ChangePath(Path("new/"), "unbi_debug_");
    EXPECT_EQ(file_.CurrentPath(), Path("new//" + NameNow()));
    EXPECT_EQ(ListFiles(Path("new")), std::vector<std::string>({NameNow()}));
}

TEST_F(ChangePath, LeavesTheOldFileWhereTheNewOneCannotBeOpened) {
    Write("one");
    WriteFile(Path("new"), "a file in the way");
    EXPECT_EQ(file_.ChangePath(Path("new"), "unbi_debug_"), 0);
    EXPECT_FALSE(file_.IsOpen());
    EXPECT_EQ(ReadFile(Old()), kCreated + Frame(1, 1, "one") + kClosed);
    EXPECT_EQ(ReadFile(Path("new")), "a file in the way");
    Write("two");
    fs::remove(Path("new"));
    Write("three");
    EXPECT_EQ(ReadFile(New()), kCreated + Frame(3, 1, "three"));
    EXPECT_EQ(ReadFile(Old()), kCreated + Frame(1, 1, "one") + kClosed);
}

TEST_F(ChangePath, RemovesAnOldFileThatCannotBeRead) {
    Write("one");
    // What stands under the old name now leads nowhere, for every user.
    fs::rename(Old(), Path("kept"));
    fs::create_symlink(Path("nowhere"), Old());
    EXPECT_EQ(file_.ChangePath(Path("new"), "unbi_debug_"), 0);
    EXPECT_EQ(ListFiles(Path("old")), std::vector<std::string>());
    EXPECT_EQ(ReadFile(New()), kCreated);
    EXPECT_EQ(ReadFile(Path("kept")), kCreated + Frame(1, 1, "one") + kClosed);
    Write("two");
    EXPECT_EQ(ReadFile(New()), kCreated + Frame(2, 1, "two"));
}

TEST_F(ChangePath, DoesWithoutAnOldFileThatIsGone) {
    Write("one");
    fs::remove(Old());
    EXPECT_EQ(file_.ChangePath(Path("new"), "unbi_debug_"), 0);
    EXPECT_EQ(ReadFile(New()), kCreated);
}

TEST_F(ChangePath, RemovesTheLinkAndNotTheFileBehindIt) {
    Write("one");
    fs::rename(Old(), Path("kept"));
    fs::create_symlink(Path("kept"), Old());
    EXPECT_EQ(file_.ChangePath(Path("new"), "unbi_debug_"), 0);
    EXPECT_EQ(ListFiles(Path("old")), std::vector<std::string>());
    EXPECT_EQ(ReadFile(New()), kCreated + (kCreated + Frame(1, 1, "one")) + kClosed);
    EXPECT_EQ(ReadFile(Path("kept")), kCreated + Frame(1, 1, "one") + kClosed);
}

class ChangePathToTheSamePlace : public ChangePath,
                                 public ::testing::WithParamInterface<const char*> {};

// In one second both files have the same name: what was open is the new file already.
TEST_P(ChangePathToTheSamePlace, DoesNotRemoveTheFileThatIsOpen) {
    fs::create_directories(Path("old"));
    fs::create_directory_symlink(Path("old"), Path("link"));
    Write("one");
    EXPECT_EQ(file_.ChangePath(Path(GetParam()), "unbi_debug_"), 0);
    ASSERT_TRUE(file_.IsOpen());
    ASSERT_EQ(ListFiles(Path("old")), std::vector<std::string>({NameNow()}));
    Write("two");
    const std::string contents = ReadFile(Old());
    EXPECT_EQ(contents.find(kCreated), 0u);
    EXPECT_EQ(contents.rfind(Frame(2, 1, "two")), contents.size() - Frame(2, 1, "two").size());
    NS_TEST::ParseLogText(contents);
}

TEST_P(ChangePathToTheSamePlace, CarriesTheContentsInAnotherSecond) {
    LetFilesDiffer();
    fs::create_directories(Path("old"));
    fs::create_directory_symlink(Path("old"), Path("link"));
    Write("one");
    EXPECT_EQ(file_.ChangePath(Path(GetParam()), "unbi_debug_"), 0);
    EXPECT_EQ(ListFiles(Path("old")), std::vector<std::string>({NameAt("20240305_140710")}));
    const auto pieces = NS_TEST::ParseLogPieces(file_.CurrentPath());
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(pieces[2].record.detail, "one");
}

INSTANTIATE_TEST_SUITE_P(OtherSpellings, ChangePathToTheSamePlace,
                         ::testing::Values("old/", "old/.", "./old", "link", "old/../old"));

TEST_F(ChangePath, KeepsWhatTheNewFileCannotTake) {
    Write(std::string(20000, 'x'));
    const std::string before = ReadFile(Old()) + kClosed;
    // Room for the new file's creation line and a part of the contents.
    uint64_t room = 10000;
    Calls().ScriptWrites([&room](uint64_t number, std::string_view bytes) {
        if (number == 1) {
            return NS_TEST::SystemCalls::Fate();  // the old file's closing line
        }
        const size_t part = std::min<size_t>(bytes.size(), room);
        room -= part;
        return part > 0 ? NS_TEST::SystemCalls::Fate{part, 0}
                        : NS_TEST::SystemCalls::Fate{0, ENOSPC};
    });
    EXPECT_EQ(file_.ChangePath(Path("new"), "unbi_debug_"), 0);
    Calls().ScriptWrites(nullptr);
    EXPECT_EQ(ReadFile(Old()), before);
    Write("two");
    bool found = false;
    for (const auto& piece : NS_TEST::ParseLogDirectory(Path("new"))) {
        found = found || piece.number == 2;
    }
    EXPECT_TRUE(found);
}

TEST_F(ChangePath, CreatesTheNewDirectory) {
    Write("one");
    EXPECT_EQ(file_.ChangePath(Path("a/b/c"), "unbi_debug_"), 0);
    struct stat status;
    ASSERT_EQ(stat(Path("a/b/c").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0750u);
    EXPECT_EQ(ListFiles(Path("a/b/c")), std::vector<std::string>({NameNow()}));
}

TEST_F(ChangePath, GoesOnWithTheNextNumbers) {
    LetFilesDiffer();
    for (uint64_t number = 1; number <= 5; ++number) {
        Write("text");
        file_.ChangePath(Path("new" + std::to_string(number)), "unbi_debug_");
    }
    const auto pieces =
        NS_TEST::OfKind(NS_TEST::ParseLogPieces(file_.CurrentPath()), NS_TEST::ParsedPiece::RECORD);
    ASSERT_EQ(pieces.size(), 5u);
    for (uint64_t i = 0; i < 5; ++i) {
        EXPECT_EQ(pieces[i].number, i + 1);
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
