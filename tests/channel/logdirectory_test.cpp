// Creating log files where their directory may not exist yet.
#include "channel/logdirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "channel/channelfixture.h"

using NS_TEST::ProcessStatus;
using NS_TEST::ReadFile;
using NS_TEST::WriteFile;

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

unsigned int Mode(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

class LogDirectory : public NS_TEST::ChannelTest {
  protected:
    LogDirectory() : previous_(umask(022)) {}
    ~LogDirectory() override { umask(previous_); }

    bool Create(const std::string& directory) {
        return !CreateInDirectory(stream_, directory, "file.log");
    }

    FileStream stream_;

  private:
    mode_t previous_;
};

TEST_F(LogDirectory, IsUsedWhereItExists) {
    ASSERT_TRUE(Create(Path()));
    EXPECT_TRUE(stream_.IsOpen());
    EXPECT_TRUE(stream_.IsSameFile(Path("file.log")));
    EXPECT_EQ(ReadFile(Path("file.log")), "");
}

TEST_F(LogDirectory, IsCreatedWithItsTwoNearestAncestors) {
    ASSERT_TRUE(Create(Path("a/b/c")));
    EXPECT_TRUE(stream_.IsSameFile(Path("a/b/c/file.log")));
}

TEST_F(LogDirectory, IsNotCreatedWhereMoreIsMissing) {
    EXPECT_FALSE(Create(Path("a/b/c/d")));
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_EQ(NS_TEST::ListFiles(Path()), std::vector<std::string>());
}

class LogDirectoryUnderMask : public LogDirectory, public ::testing::WithParamInterface<mode_t> {};

TEST_P(LogDirectoryUnderMask, HasTheSameModes) {
    umask(GetParam());
    ASSERT_TRUE(Create(Path("a/b/c")));
    const mode_t after = umask(022);
    EXPECT_EQ(after, GetParam());
    EXPECT_EQ(Mode(Path("a")), 0750u);
    EXPECT_EQ(Mode(Path("a/b")), 0750u);
    EXPECT_EQ(Mode(Path("a/b/c")), 0750u);
    EXPECT_EQ(Mode(Path("a/b/c/file.log")), 0640u);
}

TEST_P(LogDirectoryUnderMask, LeavesTheMaskAsItWasWhenItFails) {
    umask(GetParam());
    EXPECT_FALSE(Create(Path("a/b/c/d")));
    EXPECT_EQ(umask(GetParam()), GetParam());
    Calls().ScriptOpens([](uint64_t) { return EMFILE; });
    EXPECT_FALSE(Create(Path("a")));
    EXPECT_EQ(umask(022), GetParam());
}

INSTANTIATE_TEST_SUITE_P(OfAnyUser, LogDirectoryUnderMask,
                         ::testing::Values(0, 022, 027, 077, 0177, 0777));

TEST_F(LogDirectory, KeepsTheModeItHas) {
    fs::create_directories(Path("a/b"));
    chmod(Path("a").c_str(), 0700);
    chmod(Path("a/b").c_str(), 0777);
    ASSERT_TRUE(Create(Path("a/b/c")));
    EXPECT_EQ(Mode(Path("a")), 0700u);
    EXPECT_EQ(Mode(Path("a/b")), 0777u);
    EXPECT_EQ(Mode(Path("a/b/c")), 0750u);
}

TEST_F(LogDirectory, EmptiesAFileOfThatName) {
    WriteFile(Path("file.log"), "old");
    ASSERT_TRUE(Create(Path()));
    EXPECT_EQ(ReadFile(Path("file.log")), "");
}

TEST_F(LogDirectory, MayBeReachedThroughALink) {
    fs::create_directories(Path("real"));
    fs::create_directory_symlink(Path("real"), Path("link"));
    ASSERT_TRUE(Create(Path("link")));
    EXPECT_TRUE(stream_.IsSameFile(Path("real/file.log")));
    EXPECT_TRUE(fs::is_symlink(Path("link")));
}

TEST_F(LogDirectory, IsCreatedBehindALink) {
    fs::create_directories(Path("real"));
    fs::create_directory_symlink(Path("real"), Path("link"));
    ASSERT_TRUE(Create(Path("link/a/b")));
    EXPECT_TRUE(stream_.IsSameFile(Path("real/a/b/file.log")));
}

TEST_F(LogDirectory, MayBeRelative) {
    fs::create_directories(Path("here"));
    fs::current_path(Path("here"));
    ASSERT_TRUE(Create("a/b"));
    EXPECT_TRUE(stream_.IsSameFile(Path("here/a/b/file.log")));
    ASSERT_TRUE(Create("."));
    EXPECT_TRUE(stream_.IsSameFile(Path("here/file.log")));
    ASSERT_TRUE(Create("../there"));
    EXPECT_TRUE(stream_.IsSameFile(Path("there/file.log")));
    ASSERT_TRUE(Create("single"));
    EXPECT_TRUE(stream_.IsSameFile(Path("here/single/file.log")));
    fs::current_path("/");
}

TEST_F(LogDirectory, MayHaveSuperfluousSeparators) {
    ASSERT_TRUE(Create(Path() + "//a///b//"));
    EXPECT_TRUE(stream_.IsSameFile(Path("a/b/file.log")));
}

TEST_F(LogDirectory, MayNotBeAFile) {
    WriteFile(Path("a"), "contents");
    EXPECT_FALSE(Create(Path("a")));
    EXPECT_FALSE(Create(Path("a/b")));
    EXPECT_FALSE(Create(Path("a/b/c")));
    EXPECT_FALSE(stream_.IsOpen());
    EXPECT_EQ(ReadFile(Path("a")), "contents");
    EXPECT_EQ(ProcessStatus("Umask"), "0022");
}

TEST_F(LogDirectory, ClosesTheStreamWhenItFails) {
    ASSERT_TRUE(Create(Path()));
    EXPECT_FALSE(Create(Path("a/b/c/d")));
    EXPECT_FALSE(stream_.IsOpen());
}

TEST_F(LogDirectory, MayHaveAPathOfAnyLengthThatTheSystemTakes) {
    std::string directory = Path();
    while (directory.size() < 3500) {
        directory += "/" + std::string(200, 'd');
    }
    fs::create_directories(directory);
    ASSERT_TRUE(Create(directory));
    EXPECT_TRUE(stream_.IsSameFile(directory + "/file.log"));
    EXPECT_FALSE(Create(Path(std::string(5000, 'x'))));
    EXPECT_FALSE(Create(Path(std::string(300, 'x'))));
}

TEST_F(LogDirectory, IsCanonicalWithoutLinksAndRelativeSteps) {
    fs::create_directories(Path("real/inner"));
    fs::create_directory_symlink(Path("real"), Path("link"));
    EXPECT_EQ(CanonicalPath(Path("link/inner/../inner/.")), Path("real/inner"));
    EXPECT_EQ(CanonicalPath(Path() + "//real//"), Path("real"));
    EXPECT_EQ(CanonicalPath("/"), "/");
    fs::current_path(Path("real"));
    EXPECT_EQ(CanonicalPath("."), Path("real"));
    EXPECT_EQ(CanonicalPath("inner"), Path("real/inner"));
    fs::current_path("/");
}

TEST_F(LogDirectory, IsCanonicalAsFarAsItExists) {
    fs::create_directories(Path("real"));
    fs::create_directory_symlink(Path("real"), Path("link"));
    EXPECT_EQ(CanonicalPath(Path("link/a/b")), Path("real/a/b"));
    EXPECT_EQ(CanonicalPath(Path("missing")), Path("missing"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
