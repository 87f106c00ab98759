// What a shipper does when files cannot be opened or read.
#include <gmock/gmock.h>
#include <sys/inotify.h>
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

ino_t damagedFile = 0;   // reading it fails,
int readsThatFail = -1;  // so many times; less than 0: always
bool isStale = false;    // only with the descriptor that was used first
int staleDescriptor = -1;
int watchingError = 0;          // of inotify_init1
int watchedDirectoryError = 0;  // of inotify_add_watch

void Damage(const std::string& path) {
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    damagedFile = status.st_ino;
}

size_t CountIn(const std::string& text, const std::string& wanted) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(wanted, at)) != std::string::npos; ++at) {
        ++count;
    }
    return count;
}

TEST_F(ShipperTest, SendsTheOtherFilesWhenOneCannotBeRead) {
    std::filesystem::create_directory(LogPath("corbasys"));
    std::filesystem::create_symlink(LogPath("corbadebug"), LogPath("corbadebug"));
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
    EXPECT_EQ(CountIn(text, LogPath("corbadebug") + ": Too many levels of symbolic links\n"), 1U)
        << text;
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

TEST_F(ShipperTest, TriesToReadAFileSomeTimesBeforeItEnds) {
    WriteFile(LogPath(), Text());
    readsThatFail = 4;
    Damage(LogPath());
    EXPECT_FALSE(Ship());
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_TRUE(kept_.files[0].isComplete);
    EXPECT_EQ(kept_.states.back().problem, "");
}

TEST_F(ShipperTest, OpensAFileAnewWhoseDescriptorHasGoneStale) {
    WriteFile(LogPath(), Text());
    isStale = true;
    Damage(LogPath());
    EXPECT_FALSE(Ship());
    EXPECT_GE(staleDescriptor, 0);
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].bytes, Text());
}

// A directory that is there again before it ends.
TEST_F(ShipperTest, LooksForFilesSomeTimesBeforeItEnds) {
    std::filesystem::create_directory(Path("log"));
    WriteFile(Path("log/unbi_oper_20260305_140709_999999999.log"), Text());
    std::filesystem::create_directory_symlink(Path("missing"), Path("way"));
    WriteFile(LogPath(), Text());
    kept_.whenComplete = [&] {
        if (kept_.files.size() == 1) {
            std::filesystem::remove(Path("way"));
            std::filesystem::create_directory_symlink(Path("log"), Path("way"));
        }
    };
    EXPECT_FALSE(Ship({LogPath(), Path("way")}));
    EXPECT_EQ(kept_.files.size(), 2U);
}

// As long as it was not removed, it may be readable again.
TEST_F(ShipperTest, GivesUpAFileThatCannotBeReadWhenItIsRemoved) {
    const std::string text = LargeText(1500);
    WriteFile(LogPath(), text);
    kept_.whenSent = [&] {
        if (kept_.parts == 1) {
            Damage(LogPath());
            std::filesystem::remove(LogPath());
        }
    };
    ShipSettings settings = Settings({Path()});
    settings.once = false;
    Shipper shipper = MakeShipper(settings);
    kept_.whenGone = [&shipper] { shipper.Stop(); };
    const CapturedOutput errors(STDERR_FILENO);
    EXPECT_FALSE(shipper.Run());
    EXPECT_THAT(errors.Text(),
                HasSubstr(LogPath() + " was removed before it could be read to its end\n"));
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].lost, text.size() - kept_.files[0].bytes.size());
    EXPECT_EQ(kept_.states.back().problem, "");
    EXPECT_EQ(kept_.states.back().files, 0U);
}

TEST_F(ShipperTest, SeesThatAFileWasEmptiedWhenItCanBeReadAgain) {
    WriteFile(LogPath(), LargeText(1500));
    const std::string after = OtherText() + LargeText(1500);
    kept_.whenSent = [&] {
        if (kept_.parts == 1) {
            WriteFile(LogPath(), after);
            readsThatFail = 1;
            Damage(LogPath());
        }
    };
    ShipSettings settings = Settings({Path()});
    settings.once = false;
    Shipper shipper = MakeShipper(settings);
    kept_.whenComplete = [&shipper] { shipper.Stop(); };
    EXPECT_FALSE(shipper.Run());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_TRUE(kept_.files[0].hasGone);
    EXPECT_TRUE(kept_.files[1].bytes == after);
}

// The new contents are shorter than what was sent, so their first line is the first read.
TEST_F(ShipperTest, TellsWhatAnEmptiedFileHasLostWhenItsNewContentsCannotBeReadYet) {
    const std::string before = LargeText(1500);
    WriteFile(LogPath(), before);
    kept_.whenSent = [&] {
        if (kept_.parts == 1) {
            WriteFile(LogPath(), OtherText());
            readsThatFail = 1;
            Damage(LogPath());
        }
    };
    ShipSettings settings = Settings({Path()});
    settings.once = false;
    Shipper shipper = MakeShipper(settings);
    kept_.whenComplete = [&shipper] { shipper.Stop(); };
    EXPECT_FALSE(shipper.Run());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_TRUE(kept_.files[0].hasGone);
    EXPECT_EQ(kept_.files[0].lost, before.size() - kept_.files[0].bytes.size());
    EXPECT_EQ(kept_.files[1].bytes, OtherText());
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
    kept_.whenComplete = [&] {
        if (!first) {
            first = kept_.files[0].isComplete ? 0 : 1;
        } else if (!std::filesystem::exists(Path("elsewhere"))) {
            kept_.files[*first].isWantedAgain = true;
            std::filesystem::rename(Path(kept_.files[*first].identity.name), Path("elsewhere"));
            throw TargetError("the target is away", true);
        }
    };
    EXPECT_FALSE(Ship());
    ASSERT_TRUE(first);
    Kept::File& file = kept_.files[*first];
    EXPECT_TRUE(file.isWantedAgain);
    EXPECT_FALSE(file.hasGone);

    std::filesystem::rename(Path("elsewhere"), Path(file.identity.name));
    kept_.whenComplete = [] {};
    kept_.parts = 0;
    EXPECT_TRUE(Ship());
    EXPECT_FALSE(file.isWantedAgain);
    EXPECT_GT(kept_.parts, 0);
}

// Two files, of which the first cannot be opened any more when a target has forgotten all.
class ForgottenFile : public ShipperTest {
  protected:
    ForgottenFile() {
        WriteFile(LogPath(), Text());
        WriteFile(LogPath("oper"), Text());
        settings_.once = false;
        settings_.stateInterval = std::chrono::milliseconds(1);
        kept_.forgets = true;
        kept_.whenComplete = [&] {
            if (first_.empty()) {
                first_ = Path(kept_.files[kept_.files[0].isComplete ? 0 : 1].identity.name);
                std::filesystem::rename(first_, Path("elsewhere"));
                std::filesystem::create_symlink(first_, first_);
            }
        };
    }

    bool HasForgotten() const { return !kept_.forgets; }
    const Kept::File& First() const {
        return Path(kept_.files[0].identity.name) == first_ ? kept_.files[0] : kept_.files[1];
    }

    ShipSettings settings_ = Settings({Path()});
    std::string first_;
};

TEST_F(ForgottenFile, IsAskedForOnceWhenItCannotBeOpened) {
    Shipper shipper = MakeShipper(settings_);
    int states = 0;
    kept_.whenTold = [&] {
        states += HasForgotten() ? 1 : 0;
        if (states == 5) {
            shipper.Stop();
        }
    };
    EXPECT_FALSE(shipper.Run());
    EXPECT_EQ(kept_.asks, 4) << "each file once by each connection";
    EXPECT_FALSE(First().hasGone);
}

TEST_F(ForgottenFile, IsLostWhenItIsRemovedBeforeItCanBeOpened) {
    Shipper shipper = MakeShipper(settings_);
    kept_.whenTold = [&] {
        if (HasForgotten()) {
            std::filesystem::remove(first_);
        }
    };
    kept_.whenGone = [&shipper] { shipper.Stop(); };
    const CapturedOutput errors(STDERR_FILENO);
    EXPECT_FALSE(shipper.Run());
    EXPECT_TRUE(First().hasGone);
    EXPECT_EQ(First().lost, Text().size());
    EXPECT_EQ(CountIn(errors.Text(), first_ + " was removed before it could be read to its end\n"),
              1U);
}

class WatchedDirectory : public ShipperTest {
  protected:
    std::string Failure() {
        try {
            Ship();
        } catch (const NS_LOG_READER::ReadError& error) {
            return error.what();
        }
        return "";
    }
};

TEST_F(WatchedDirectory, IsNoneWithoutInstancesOfWatching) {
    watchingError = EMFILE;
    EXPECT_EQ(Failure(),
              "watching directories: Too many open files, or fs.inotify.max_user_instances is "
              "reached");
}

TEST_F(WatchedDirectory, IsToldWhenNoMoreMayBeWatched) {
    watchedDirectoryError = ENOSPC;
    EXPECT_EQ(Failure(),
              Path() + ": No space left on device: fs.inotify.max_user_watches is reached");
}

}  // namespace

extern "C" ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset) {
    struct stat status {};
    if (damagedFile != 0 && readsThatFail != 0 && ::fstat(descriptor, &status) == 0 &&
        status.st_ino == damagedFile) {
        if (!isStale) {
            --readsThatFail;
            errno = EIO;
            return -1;
        }
        staleDescriptor = staleDescriptor < 0 ? descriptor : staleDescriptor;
        if (descriptor == staleDescriptor) {
            errno = ESTALE;
            return -1;
        }
    }
    return syscall(SYS_pread64, descriptor, bytes, size, offset);
}

extern "C" int inotify_init1(int flags) {
    if (watchingError != 0) {
        errno = watchingError;
        return -1;
    }
    return static_cast<int>(syscall(SYS_inotify_init1, flags));
}

extern "C" int inotify_add_watch(int descriptor, const char* path, uint32_t mask) {
    if (watchedDirectoryError != 0) {
        errno = watchedDirectoryError;
        return -1;
    }
    return static_cast<int>(syscall(SYS_inotify_add_watch, descriptor, path, mask));
}
