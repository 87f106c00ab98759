// Creating log files where their directory may not exist yet, and the creation mask meanwhile.
#include "channel/logdirectory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <new>
#include <string>

#include "channel/channelfixture.h"
#include "channel/creationmask.h"
#include "support/onthreads.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class LogDirectory : public FrozenClockTest {
  protected:
    LogDirectory() : previous_(umask(022)) {}
    ~LogDirectory() override { umask(previous_); }

    bool Create(const std::string& directory) {
        const bool created = !CreateInDirectory(stream_, directory, "file.log");
        EXPECT_EQ(stream_.IsOpen(), created);
        return created;
    }
    // A directory with an inner one, and a link to it.
    void MakeLink() const {
        fs::create_directories(Path("real/inner"));
        fs::create_directory_symlink(Path("real"), Path("link"));
    }
    unsigned int ModeOf(const std::string& name) const {
        struct stat status {};
        return stat(Path(name).c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    FileStream stream_;

  private:
    mode_t previous_;
};

TEST_F(LogDirectory, IsUsedWhereItExistsAndLosesAFileOfThatName) {
    WriteFile(Path("file.log"), "earlier contents");
    ASSERT_TRUE(Create(Path()));
    EXPECT_TRUE(stream_.IsSameFile(Path("file.log")));
    EXPECT_EQ(ReadFile(Path("file.log")), "");
}

TEST_F(LogDirectory, IsNotCreatedWhereMoreThanTwoAncestorsAreMissing) {
    ASSERT_TRUE(Create(Path()));
    EXPECT_FALSE(Create(Path("a/b/c/d")));
    EXPECT_EQ(ListFiles(Path()), Texts({"file.log"}));
    EXPECT_TRUE(Create(Path("a/b/c")));
    EXPECT_TRUE(stream_.IsSameFile(Path("a/b/c/file.log")));
}

TEST_F(LogDirectory, HasTheSameModesWhateverTheUsersMask) {
    for (const mode_t mask : {0u, 022u, 027u, 077u, 0177u, 0777u}) {
        const std::string base = std::to_string(mask);
        umask(mask);
        EXPECT_TRUE(Create(Path(base + "/b/c")));
        EXPECT_FALSE(Create(Path(base + "/x/y/z/missing")));
        Calls().ScriptOpens([](uint64_t) -> int { throw std::bad_alloc(); });
        EXPECT_THROW(Create(Path(base)), std::bad_alloc);
        EXPECT_EQ(umask(022), mask);
        Calls().ScriptOpens(nullptr);
        for (const char* const directory : {"", "/b", "/b/c"}) {
            EXPECT_EQ(ModeOf(base + directory), 0750u);
        }
        EXPECT_EQ(ModeOf(base + "/b/c/file.log"), 0640u);
    }
}

TEST_F(LogDirectory, HasTheSameModesWhenManyAreCreatedAtOnce) {
    umask(0123);
    OnThreads(8, [this](int number) {
        for (int round = 0; round < 20; ++round) {
            const std::string name = std::to_string(number) + "_" + std::to_string(round);
            FileStream stream;
            EXPECT_FALSE(CreateInDirectory(stream, Path(name), "file.log"));
            EXPECT_EQ(ModeOf(name), 0750u);
            EXPECT_EQ(ModeOf(name + "/file.log"), 0640u);
        }
    });
    EXPECT_EQ(umask(022), 0123u);
}

TEST_F(LogDirectory, KeepsTheModeItHas) {
    fs::create_directories(Path("a/b"));
    chmod(Path("a").c_str(), 0700);
    chmod(Path("a/b").c_str(), 0777);
    ASSERT_TRUE(Create(Path("a/b/c")));
    EXPECT_EQ(ModeOf("a"), 0700u);
    EXPECT_EQ(ModeOf("a/b"), 0777u);
    EXPECT_EQ(ModeOf("a/b/c"), 0750u);
}

TEST_F(LogDirectory, MayBeRelativeOrBehindALinkOrHaveSuperfluousSeparators) {
    MakeLink();
    fs::create_directories(Path("here"));
    fs::current_path(Path("here"));
    const std::pair<std::string, std::string> cases[] = {
        {"a/b", "here/a/b"},          {".", "here"},          {"../there", "there"},
        {"single", "here/single"},    {Path("link"), "real"}, {Path("link/x/y"), "real/x/y"},
        {Path() + "//p///q//", "p/q"}};
    for (const auto& [directory, place] : cases) {
        EXPECT_TRUE(Create(directory));
        EXPECT_TRUE(stream_.IsSameFile(Path(place + "/file.log"))) << directory;
    }
    EXPECT_TRUE(fs::is_symlink(Path("link")));
}

TEST_F(LogDirectory, MayNotBeAFile) {
    WriteFile(Path("a"), "contents");
    for (const char* const directory : {"a", "a/b", "a/b/c"}) {
        EXPECT_FALSE(Create(Path(directory)));
    }
    EXPECT_EQ(ReadFile(Path("a")), "contents");
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

TEST_F(LogDirectory, IsCanonicalAsFarAsItExists) {
    MakeLink();
    fs::current_path(Path("real"));
    const std::pair<std::string, std::string> cases[] = {
        {Path("link/inner/../inner/."), Path("real/inner")},
        {Path() + "//real//", Path("real")},
        {"/", "/"},
        {".", Path("real")},
        {"inner", Path("real/inner")},
        {Path("link/a/b"), Path("real/a/b")},
        {Path("missing"), Path("missing")}};
    for (const auto& [path, canonical] : cases) {
        EXPECT_EQ(CanonicalPath(path), canonical);
    }
}

TEST(CreationMask, HoldsForTheBlock) {
    const mode_t previous = umask(0123);
    {
        ScopedCreationMask mask(007);
        EXPECT_EQ(CreationMaskNow(), "0007");
        mask.Change(037);
        EXPECT_EQ(CreationMaskNow(), "0037");
        mask.Change(0);
        EXPECT_EQ(CreationMaskNow(), "0000");
    }
    EXPECT_EQ(umask(previous), 0123u);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
