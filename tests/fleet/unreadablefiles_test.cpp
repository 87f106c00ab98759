// What a shipper does when files cannot be opened or read.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "fleet/shipperfixture.h"
#include "support/capturedoutput.h"

namespace {

using namespace NS_TEST;
using ::testing::HasSubstr;

ino_t damagedFile = 0;  // reading it fails

void Damage(const std::string& path) {
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    damagedFile = status.st_ino;
}

// While it lives, no file can be opened.
class NoMoreDescriptors {
  public:
    NoMoreDescriptors() {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit none{0, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

  private:
    rlimit before_{};
};

size_t CountIn(const std::string& text, const std::string& wanted) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(wanted, at)) != std::string::npos; ++at) {
        ++count;
    }
    return count;
}

TEST_F(ShipperTest, SendsTheOtherFilesWhenOneCannotBeRead) {
    std::filesystem::create_directory(LogPath("corbasys"));
    ASSERT_EQ(::mkfifo(LogPath("corbaoper").c_str(), 0600), 0);
    WriteFile(LogPath("corbanotify"), Text());
    Damage(LogPath("corbanotify"));
    WriteFile(LogPath(), Text());
    const CapturedOutput errors(STDERR_FILENO);
    EXPECT_FALSE(Ship());
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_TRUE(kept_.files[0].isComplete);

    const std::string text = errors.Text();
    EXPECT_EQ(CountIn(text, LogPath("corbasys") + ": it is no regular file\n"), 1U) << text;
    EXPECT_EQ(CountIn(text, LogPath("corbaoper") + ": it is no regular file\n"), 1U) << text;
    EXPECT_EQ(CountIn(text, LogPath("corbanotify") + ": Input/output error\n"), 1U) << text;
    EXPECT_THAT(kept_.states.back().problem, HasSubstr("Input/output error"));
}

// A store refuses what is no UTF-8.
TEST_F(ShipperTest, LeavesOutAFileWhoseNameIsNoText) {
    WriteFile(LogPath("d\xFC"), Text());
    WriteFile(LogPath("d\xC3\xBC"), Text());
    const CapturedOutput errors(STDERR_FILENO);
    EXPECT_FALSE(Ship());
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(Path(kept_.files[0].identity.name), LogPath("d\xC3\xBC"));
    const std::string text = errors.Text();
    EXPECT_EQ(CountIn(text, LogPath("d\xFC") + ": its name is no UTF-8"), 1U) << text;
    EXPECT_EQ(kept_.states.back().problem,
              LogPath("d\xEF\xBF\xBD") + ": its name is no UTF-8, so it is not sent");
}

TEST_F(ShipperTest, SendsAFileWhenItCanBeReadAgain) {
    WriteFile(LogPath(), Text());
    WriteFile(LogPath("oper"), Text());
    Damage(LogPath("oper"));
    kept_.whenComplete = [] {
        if (std::exchange(damagedFile, 0) != 0) {
            throw TargetError("the target is away", true);
        }
    };
    EXPECT_FALSE(Ship());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_EQ(kept_.files[1].bytes, Text());
    EXPECT_EQ(kept_.states.back().problem, "");
}

TEST_F(ShipperTest, TakesNoFileForRemovedThatCannotBeRead) {
    WriteFile(LogPath(), Text());
    WriteFile(LogPath("oper"), Text());
    ASSERT_TRUE(Ship());
    ASSERT_EQ(kept_.files.size(), 2U);
    Damage(LogPath());
    std::filesystem::remove(LogPath("oper"));
    std::filesystem::create_directory(LogPath("oper"));
    EXPECT_FALSE(Ship());
    EXPECT_FALSE(kept_.files[0].hasGone);
    EXPECT_FALSE(kept_.files[1].hasGone);
}

// The first file is idle when the order comes, with a new connection to the target.
TEST_F(ShipperTest, LeavesAnOrderForLaterWhenTheFileCannotBeOpened) {
    WriteFile(LogPath(), Text());
    WriteFile(LogPath("oper"), Text());
    std::optional<size_t> first;
    std::optional<NoMoreDescriptors> limit;
    kept_.whenComplete = [&] {
        if (!first) {
            first = kept_.files[0].isComplete ? 0 : 1;
        } else if (!limit) {
            kept_.files[*first].isWantedAgain = true;
            limit.emplace();
            throw TargetError("the target is away", true);
        }
    };
    EXPECT_FALSE(Ship());
    limit.reset();
    ASSERT_TRUE(first);
    EXPECT_TRUE(kept_.files[*first].isWantedAgain);
    EXPECT_FALSE(kept_.files[*first].hasGone);

    kept_.whenComplete = [] {};
    kept_.parts = 0;
    EXPECT_TRUE(Ship());
    EXPECT_FALSE(kept_.files[*first].isWantedAgain);
    EXPECT_GT(kept_.parts, 0);
}

}  // namespace

extern "C" ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset) {
    struct stat status {};
    if (damagedFile != 0 && ::fstat(descriptor, &status) == 0 && status.st_ino == damagedFile) {
        errno = EIO;
        return -1;
    }
    return syscall(SYS_pread64, descriptor, bytes, size, offset);
}
