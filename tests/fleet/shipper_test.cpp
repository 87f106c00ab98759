// What a shipper reads, and where it goes on, with a target that keeps what it is given.
#include "ship/shipper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <string>

#include "command/stoporders.h"
#include "ship/pace.h"
#include "support/files.h"
#include "support/temporarydirectory.h"

namespace {

using namespace NS_LOG_FLEET;
using namespace NS_TEST;

// Outlives the targets, as a store does.
struct Kept {
    struct File {
        FileIdentity identity;
        std::string bytes;
        bool isComplete = false;
        bool hasGone = false;
        bool isWantedAgain = false;
        uint64_t lost = 0;
    };

    std::vector<File> files;
    int failures = 0;  // so many parts are taken and not kept
    int parts = 0;
    bool forgets = false;  // all that it had, when the second file is complete
};

class KeepingTarget final : public Target {
  public:
    explicit KeepingTarget(Kept& kept) : kept_(kept) {}

    TargetFile Open(const FileIdentity& file) override {
        for (size_t i = 0; i < kept_.files.size(); ++i) {
            const FileIdentity& known = kept_.files[i].identity;
            if (known.name == file.name && known.first == file.first) {
                return {static_cast<int64_t>(i), kept_.files[i].bytes.size(),
                        kept_.files[i].isComplete};
            }
        }
        kept_.files.push_back({file, "", false, false, false, 0});
        return {static_cast<int64_t>(kept_.files.size() - 1), 0, false};
    }

    void Send(int64_t handle, FilePart part) override {
        ++kept_.parts;
        if (kept_.failures > 0) {
            --kept_.failures;
            throw TargetError("the target is away", true);
        }
        std::string& bytes = kept_.files[static_cast<size_t>(handle)].bytes;
        ASSERT_LE(part.offset, bytes.size());
        bytes.resize(part.offset);
        bytes += part.bytes;
    }

    void Flush() override {}

    std::vector<KnownFile> FilesOf(const std::string&) override {
        std::vector<KnownFile> all;
        for (size_t i = 0; i < kept_.files.size(); ++i) {
            const Kept::File& file = kept_.files[i];
            if (!file.hasGone) {
                all.push_back({static_cast<int64_t>(i), file.identity.name, file.identity.first,
                               file.bytes.size(), file.bytes.size(), file.isComplete,
                               file.isWantedAgain});
            }
        }
        return all;
    }

    void NoteGone(int64_t handle, uint64_t lost) override {
        kept_.files[static_cast<size_t>(handle)].hasGone = true;
        kept_.files[static_cast<size_t>(handle)].lost = lost;
    }
    void NoteComplete(int64_t handle, uint64_t) override {
        const bool isFirst = std::none_of(kept_.files.begin(), kept_.files.end(),
                                          [](const Kept::File& file) { return file.isComplete; });
        kept_.files[static_cast<size_t>(handle)].isComplete = true;
        if (kept_.forgets && !isFirst) {
            kept_.forgets = false;
            for (Kept::File& file : kept_.files) {
                file.bytes.clear();
            }
            throw TargetError("the target is away", true);
        }
    }
    void NoteSentAgain(int64_t handle) override {
        kept_.files[static_cast<size_t>(handle)].isWantedAgain = false;
    }
    void NoteHost(const HostState&) override {}

  private:
    Kept& kept_;
};

class ShipperTest : public DirectoryTest {
  protected:
    // The number of no process.
    std::string LogPath() const { return Path("unbi_debug_20260305_140709_999999999.log"); }

    static std::string Text() {
        return "File create at 2026-03-05T14:07:09.000001+01:00.\n"
               "2026-03-05T14:07:10.000001+01:00,one\n"
               "2026-03-05T14:07:11.000001+01:00,two\n"
               "\nFile close at 2026-03-05T14:07:12.000001+01:00.\n";
    }

    bool Ship() {
        ShipSettings settings;
        settings.host = "host1";
        settings.paths = {Path()};
        settings.once = true;
        Shipper shipper(settings, [this] { return std::make_unique<KeepingTarget>(kept_); });
        return shipper.Run();
    }

    Kept kept_;
};

TEST_F(ShipperTest, SendsAllOfAFileAndSaysThatItIsDone) {
    WriteFile(LogPath(), Text());
    WriteFile(Path("notes.txt"), "not a log file");
    EXPECT_TRUE(Ship());
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_EQ(kept_.files[0].identity.first, Text().substr(0, Text().find('\n') + 1));
    EXPECT_TRUE(kept_.files[0].isComplete);

    kept_.parts = 0;
    EXPECT_TRUE(Ship());
    EXPECT_EQ(kept_.parts, 0) << "what has arrived is not sent again";
}

TEST_F(ShipperTest, GoesOnWhereTheTargetSays) {
    WriteFile(LogPath(), Text());
    kept_.failures = 2;
    EXPECT_TRUE(Ship());
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_GE(kept_.parts, 3);
}

TEST_F(ShipperTest, SendsATornEndAsItIsWhenNobodyWritesTheFile) {
    const std::string text = Text().substr(0, Text().size() - 5) + "\0";
    WriteFile(LogPath(), text);
    EXPECT_TRUE(Ship());
    EXPECT_EQ(kept_.files[0].bytes, text);
}

TEST_F(ShipperTest, HoldsATornEndBackWhileSomebodyWritesTheFile) {
    const std::string text = Text() + "2026-03-05T14:07:13.000001+01:00,thr";
    WriteFile(LogPath(), text);
    const std::ofstream writer(LogPath(), std::ios::app);
    EXPECT_TRUE(Ship());
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_FALSE(kept_.files[0].isComplete);
}

TEST_F(ShipperTest, TellsTwoContentsOfOneNameApart) {
    WriteFile(LogPath(), Text());
    EXPECT_TRUE(Ship());
    std::string other = Text();
    other[other.find(".000001") + 6] = '2';
    WriteFile(LogPath(), other);
    EXPECT_TRUE(Ship());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_EQ(kept_.files[1].bytes, other);
    EXPECT_TRUE(kept_.files[0].hasGone);
}

TEST_F(ShipperTest, SendsAnIdleFileAgainThatTheTargetHasForgotten) {
    WriteFile(LogPath(), Text());
    WriteFile(Path("unbi_oper_20260305_140709_999999999.log"), Text());
    kept_.forgets = true;
    EXPECT_TRUE(Ship());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_EQ(kept_.files[1].bytes, Text());
}

TEST_F(ShipperTest, ReportsAFileThatWasRemovedBeforeItsEnd) {
    kept_.files.push_back({{"host1", "unbi_debug_20260305_140708_1.log", "x\n"}, "x\n"});
    WriteFile(LogPath(), Text());
    EXPECT_FALSE(Ship());
    EXPECT_TRUE(kept_.files[0].hasGone);
}

TEST_F(ShipperTest, SendsAFileAgainByOrder) {
    WriteFile(LogPath(), Text());
    EXPECT_TRUE(Ship());
    kept_.files[0].bytes[60] = '?';
    kept_.files[0].isWantedAgain = true;
    EXPECT_TRUE(Ship());
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_FALSE(kept_.files[0].isWantedAgain);
}

TEST(Pace, SpreadsBytesOverTime) {
    using std::chrono::milliseconds;
    using std::chrono::seconds;
    Pace pace(1000);
    const Pace::Clock::time_point start = Pace::Clock::time_point() + seconds(100);
    EXPECT_EQ(pace.Spend(500, start), milliseconds(0));
    EXPECT_EQ(pace.Spend(1000, start), milliseconds(500));
    EXPECT_EQ(pace.Spend(1000, start + milliseconds(500)), seconds(1));
    EXPECT_EQ(Pace(0).Spend(1000000, start), milliseconds(0));
}

std::atomic<int> stopOrders{0};

TEST(StopOrders, AreTakenAsLongAsThereIsSomebodyToStop) {
    {
        const StopOrders orders([](int) { ++stopOrders; });
        std::raise(SIGTERM);
        std::raise(SIGINT);
        EXPECT_EQ(stopOrders, 2);
    }
    std::raise(SIGTERM);
    std::raise(SIGINT);
    EXPECT_EQ(stopOrders, 2);
}

}  // namespace
