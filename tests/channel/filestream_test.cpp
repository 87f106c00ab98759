// Files that are written in whole pieces.
#include "channel/filestream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "channel/channelfixture.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class FileStreams : public FrozenClockTest {
  protected:
    FileStreams() : path_(Path("file")) {}

    // The names of this process's descriptors for the file.
    std::vector<int> Descriptors() const { return DescriptorsOf(path_); }

    const std::string path_;
    FileStream stream_;
};

TEST_F(FileStreams, AreClosedAtFirst) {
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_FALSE(stream_.IsSameFile(Path()));
    stream_.Close();
    EXPECT_EQ(stream_.Write("text").written, 0u);
}

TEST_F(FileStreams, EmptyAFileAndWriteToItsEnd) {
    WriteFile(path_, "earlier contents");
    ASSERT_FALSE(stream_.Create(path_));
    EXPECT_TRUE(stream_.IsOpen());
    EXPECT_EQ(ReadFile(path_), "");
    EXPECT_EQ(stream_.Write("abc").written, 3u);
    EXPECT_EQ(stream_.Write("").written, 0u);
    EXPECT_EQ(stream_.Write(std::string_view("d\0e", 3)).written, 3u);
    EXPECT_EQ(ReadFile(path_), std::string("abcd\0e", 6));
    stream_.Close();
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_EQ(ReadFile(path_), std::string("abcd\0e", 6));
}

TEST_F(FileStreams, EmptyAFileOfAnySize) {
    for (const std::string contents : {"", "1", "12"}) {
        WriteFile(path_, contents);
        ASSERT_FALSE(stream_.Create(path_));
        EXPECT_EQ(stream_.SizeFound(), contents.size());
        EXPECT_EQ(ReadFile(path_), "");
    }
}

// An operator may empty a log file while it is written.
TEST_F(FileStreams, GoOnAtTheEndOfAFileThatWasEmptied) {
    ASSERT_FALSE(stream_.Create(path_));
    stream_.Write("abc");
    fs::resize_file(path_, 0);
    stream_.Write("def");
    EXPECT_EQ(ReadFile(path_), "def");
}

TEST_F(FileStreams, CloseWhatWasOpenBefore) {
    ASSERT_FALSE(stream_.Create(path_));
    stream_.Write("first");
    ASSERT_FALSE(stream_.Create(Path("other")));
    stream_.Write("second");
    EXPECT_EQ(ReadFile(path_), "first");
    EXPECT_EQ(ReadFile(Path("other")), "second");
    EXPECT_TRUE(Descriptors().empty());
}

TEST_F(FileStreams, SayWhyAFileCannotBeCreated) {
    for (const auto& [path, error] : {std::pair(Path("missing/file"), ENOENT), {Path(), EISDIR}}) {
        ASSERT_FALSE(stream_.Create(path_));
        EXPECT_EQ(stream_.Create(path).value(), error);
        EXPECT_FALSE(stream_.IsOpen());
        EXPECT_TRUE(Descriptors().empty());
    }
}

TEST_F(FileStreams, AreNotInheritedByOtherPrograms) {
    ASSERT_FALSE(stream_.Create(path_));
    ASSERT_EQ(Descriptors().size(), 1u);
    std::ifstream info("/proc/self/fdinfo/" + std::to_string(Descriptors().front()));
    std::string word;
    while (info >> word && word != "flags:") {
    }
    info >> word;
    EXPECT_NE(std::stoul(word, nullptr, 8) & O_CLOEXEC, 0u);
}

// An error of an earlier call is no matter of a call that succeeds.
TEST_F(FileStreams, HaveDescriptorZeroWhereItIsFreeAndAreOpenedOnce) {
    const int input = ::dup(STDIN_FILENO);
    ::close(STDIN_FILENO);
    errno = EINTR;
    ASSERT_FALSE(stream_.Create(path_));
    EXPECT_EQ(Descriptors(), std::vector<int>{0});
    stream_.Close();
    ::dup2(input, STDIN_FILENO);
    ::close(input);
}

TEST_F(FileStreams, StayClosedWhereTheNameIsNoFile) {
    EXPECT_TRUE(stream_.Create("/dev/null"));
    EXPECT_FALSE(stream_.IsOpen());
}

TEST_F(FileStreams, AreReadUpToTheirEndWhateverErrorCameBefore) {
    WriteFile(path_, "text");
    ASSERT_FALSE(stream_.Continue(path_, 0600));
    char bytes[100];
    errno = EINTR;
    const ReadResult result = stream_.Read(1, bytes, sizeof bytes);
    EXPECT_EQ(result.length, 3u);
    EXPECT_FALSE(result.error);
    EXPECT_EQ(std::string(bytes, 3), "ext");
}

TEST_F(FileStreams, CutBackTheirEndAndGoOnThere) {
    ASSERT_FALSE(stream_.Create(path_));
    stream_.Write("abcdef");
    stream_.CutBack(2);
    EXPECT_EQ(stream_.Write("xyz").written, 3u);
    EXPECT_EQ(ReadFile(path_), "abcdxyz");
    stream_.CutBack(0);
    EXPECT_EQ(ReadFile(path_), "abcdxyz");
    stream_.CutBack(7);
    EXPECT_EQ(ReadFile(path_), "");
    stream_.Write("!");
    stream_.CutBack(2);
    EXPECT_EQ(ReadFile(path_), "!");
}

// O_APPEND decides where a write goes, but a system might ask for the place.
TEST_F(FileStreams, NameTheEndAsThePlaceOfEachWrite) {
    WriteFile(path_, "abc");
    FileStream next;
    ASSERT_FALSE(next.Continue(path_, 0600));
    stream_.Swap(next);
    const int descriptor = Descriptors().at(0);
    ASSERT_EQ(::fcntl(descriptor, F_SETFL, 0), 0);  // no O_APPEND any more
    stream_.Write("def");
    EXPECT_EQ(ReadFile(path_), "abcdef");
    stream_.CutBack(2);
    stream_.Write("gh");
    EXPECT_EQ(ReadFile(path_), "abcdgh");
    stream_.CutBack(6);
    stream_.Write("ij");
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number == 1 ? SystemCalls::Fate{1, 0} : SystemCalls::Fate{};
    });
    stream_.Write("kl");
    EXPECT_EQ(ReadFile(path_), "ijkl");
}

TEST_F(FileStreams, KnowTheirFileByAnyName) {
    ASSERT_FALSE(stream_.Create(path_));
    fs::create_symlink(path_, Path("link"));
    fs::create_hard_link(path_, Path("twin"));
    WriteFile(Path("other"), "");
    for (const char* const name : {"file", "./file", "link", "twin"}) {
        EXPECT_TRUE(stream_.IsSameFile(Path(name))) << name;
    }
    EXPECT_FALSE(stream_.IsSameFile(Path("other")));
    EXPECT_FALSE(stream_.IsSameFile(Path("missing")));
    fs::remove(path_);
    EXPECT_FALSE(stream_.IsSameFile(path_));
}

TEST_F(FileStreams, GoOnAfterASignalOrAWriteThatWasCutShort) {
    Calls().ScriptOpens([](uint64_t number) { return number == 1 ? EINTR : 0; });
    ASSERT_FALSE(stream_.Create(path_));
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number % 2 == 1 ? Fate{0, EINTR} : Fate{3, 0};
    });
    EXPECT_EQ(stream_.Write("abcdefgh").written, 8u);
    EXPECT_EQ(ReadFile(path_), "abcdefgh");
    EXPECT_EQ(Calls().Writes(), 6u);
}

TEST_F(FileStreams, ReportHowMuchWasWrittenBeforeAFailure) {
    ASSERT_FALSE(stream_.Create(path_));
    stream_.Write("abc");
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number == 1 ? Fate{2, 0} : Fate{0, EIO};
    });
    const WriteResult result = stream_.Write("defg");
    EXPECT_EQ(result.written, 2u);
    EXPECT_EQ(result.error, EIO);
    EXPECT_EQ(ReadFile(path_), "abcde");
}

TEST_F(FileStreams, DoNotTryForeverWhereNothingIsTaken) {
    ASSERT_FALSE(stream_.Create(path_));
    Calls().ScriptWrites([](uint64_t number, std::string_view) {
        return number < 1000 ? Fate{0, 0} : Fate{0, EIO};
    });
    const WriteResult result = stream_.Write("text");
    EXPECT_EQ(result.written, 0u);
    EXPECT_NE(result.error, 0);
    EXPECT_LT(Calls().Writes(), 1000u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
