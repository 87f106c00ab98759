// Files that are written in whole pieces.
#include "channel/filestream.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "channel/channelfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using NS_TEST::ReadFile;
using NS_TEST::WriteFile;
using Fate = NS_TEST::SystemCalls::Fate;

class FileStreams : public NS_TEST::ChannelTest {
  protected:
    FileStreams() : path_(Path("file")) {}

    const std::string path_;
    FileStream stream_;
};

TEST_F(FileStreams, AreClosedAtFirst) {
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_FALSE(stream_.IsSameFile(Path()));
    stream_.Close();
    EXPECT_EQ(stream_.Write("text").written, 0u);
}

TEST_F(FileStreams, CreateAFileAndWriteToItsEnd) {
    ASSERT_FALSE(stream_.Create(path_));
    EXPECT_TRUE(stream_.IsOpen());
    EXPECT_EQ(ReadFile(path_), "");
    EXPECT_EQ(stream_.Write("abc").written, 3u);
    EXPECT_EQ(ReadFile(path_), "abc");
    EXPECT_EQ(stream_.Write("").written, 0u);
    EXPECT_EQ(stream_.Write(std::string_view("d\0e", 3)).written, 3u);
    EXPECT_EQ(ReadFile(path_), std::string("abcd\0e", 6));
    stream_.Close();
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_EQ(ReadFile(path_).size(), 6u);
}

TEST_F(FileStreams, EmptyAFileThatIsThere) {
    WriteFile(path_, "old contents");
    ASSERT_FALSE(stream_.Create(path_));
    EXPECT_EQ(ReadFile(path_), "");
}

TEST_F(FileStreams, CloseWhatWasOpenBefore) {
    ASSERT_FALSE(stream_.Create(path_));
    stream_.Write("first");
    ASSERT_FALSE(stream_.Create(Path("other")));
    stream_.Write("second");
    EXPECT_EQ(ReadFile(path_), "first");
    EXPECT_EQ(ReadFile(Path("other")), "second");
    EXPECT_TRUE(stream_.IsSameFile(Path("other")));
    EXPECT_FALSE(stream_.IsSameFile(path_));
}

TEST_F(FileStreams, SayWhyAFileCannotBeCreated) {
    EXPECT_EQ(stream_.Create(Path("missing/file")).value(), ENOENT);
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_EQ(stream_.Create(Path()).value(), EISDIR);
    ASSERT_FALSE(stream_.Create(path_));
    EXPECT_TRUE(stream_.Create(Path("missing/file")));
    EXPECT_FALSE(stream_.IsOpen());
}

TEST_F(FileStreams, AreNotInheritedByOtherPrograms) {
    ASSERT_FALSE(stream_.Create(path_));
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry.path(), gone) == path_) {
            std::ifstream info("/proc/self/fdinfo/" + entry.path().filename().string());
            std::string word;
            while (info >> word && word != "flags:") {
            }
            info >> word;
            EXPECT_NE(std::stoul(word, nullptr, 8) & 02000000, 0u);
            return;
        }
    }
    FAIL() << "no descriptor for " << path_;
}

TEST_F(FileStreams, CutBackTheirEndAndGoOnThere) {
    ASSERT_FALSE(stream_.Create(path_));
    stream_.Write("abcdef");
    stream_.CutBack(2);
    EXPECT_EQ(ReadFile(path_), "abcd");
    EXPECT_EQ(stream_.Write("xyz").written, 3u);
    EXPECT_EQ(ReadFile(path_), "abcdxyz");
    stream_.CutBack(0);
    EXPECT_EQ(ReadFile(path_), "abcdxyz");
    stream_.CutBack(7);
    EXPECT_EQ(ReadFile(path_), "");
    stream_.Write("!");
    EXPECT_EQ(ReadFile(path_), "!");
}

TEST_F(FileStreams, KnowTheirFileByAnyName) {
    ASSERT_FALSE(stream_.Create(path_));
    std::filesystem::create_symlink(path_, Path("link"));
    std::filesystem::create_hard_link(path_, Path("twin"));
    WriteFile(Path("other"), "");
    EXPECT_TRUE(stream_.IsSameFile(path_));
    EXPECT_TRUE(stream_.IsSameFile(Path("./file")));
    EXPECT_TRUE(stream_.IsSameFile(Path("link")));
    EXPECT_TRUE(stream_.IsSameFile(Path("twin")));
    EXPECT_FALSE(stream_.IsSameFile(Path("other")));
    EXPECT_FALSE(stream_.IsSameFile(Path("missing")));
    std::filesystem::remove(path_);
    EXPECT_FALSE(stream_.IsSameFile(path_));
}

TEST_F(FileStreams, ReportWhatADeviceWithoutRoomTook) {
    ASSERT_FALSE(stream_.Create("/dev/full"));
    const WriteResult result = stream_.Write("text");
    EXPECT_EQ(result.written, 0u);
    EXPECT_EQ(result.error.value(), ENOSPC);
    stream_.CutBack(0);
    EXPECT_TRUE(stream_.IsOpen());
}

TEST_F(FileStreams, GoOnAfterAWriteThatWasCutShort) {
    ASSERT_FALSE(stream_.Create(path_));
    Calls().ScriptWrites([](uint64_t, std::string_view) { return Fate{3, 0}; });
    EXPECT_EQ(stream_.Write("abcdefgh").written, 8u);
    EXPECT_EQ(ReadFile(path_), "abcdefgh");
    EXPECT_EQ(Calls().Writes(), 3u);
}

TEST_F(FileStreams, TryAgainAfterASignal) {
    ASSERT_FALSE(stream_.Create(path_));
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number % 2 == 1 ? Fate{0, EINTR} : Fate{2, 0};
    });
    EXPECT_EQ(stream_.Write("abcd").written, 4u);
    EXPECT_EQ(ReadFile(path_), "abcd");
}

TEST_F(FileStreams, TryToOpenAgainAfterASignal) {
    Calls().ScriptOpens([](uint64_t number) { return number == 1 ? EINTR : 0; });
    EXPECT_FALSE(stream_.Create(path_));
    EXPECT_EQ(stream_.Write("text").written, 4u);
    EXPECT_EQ(ReadFile(path_), "text");
}

TEST_F(FileStreams, ReportHowMuchWasWrittenBeforeAFailure) {
    ASSERT_FALSE(stream_.Create(path_));
    stream_.Write("abc");
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number == 1 ? Fate{2, 0} : Fate{0, EIO};
    });
    const WriteResult result = stream_.Write("defg");
    EXPECT_EQ(result.written, 2u);
    EXPECT_EQ(result.error.value(), EIO);
    EXPECT_EQ(ReadFile(path_), "abcde");
    stream_.CutBack(2);
    EXPECT_EQ(ReadFile(path_), "abc");
}

TEST_F(FileStreams, DoNotTryForeverWhereNothingIsTaken) {
    ASSERT_FALSE(stream_.Create(path_));
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number < 1000 ? Fate{0, 0} : Fate{0, EIO};
    });
    EXPECT_TRUE(stream_.Write("text").error);
    EXPECT_LT(Calls().Writes(), 1000u);
}

TEST_F(FileStreams, GiveTheirDescriptorsBack) {
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                             std::filesystem::directory_iterator());
    };
    const auto before = descriptors();
    for (int i = 0; i < 10; ++i) {
        FileStream stream;
        ASSERT_FALSE(stream.Create(path_));
        ASSERT_FALSE(stream.Create(Path("other")));
        stream.Create(Path("missing/file"));
        ASSERT_FALSE(stream.Create(path_));
    }
    EXPECT_EQ(descriptors(), before);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
