// What a shipper reads, and where it goes on, with a target that keeps what it is given.
#include "ship/shipper.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <string>
#include <utility>

#include "command/stoporders.h"
#include "fleet/shipperfixture.h"
#include "ship/pace.h"
#include "support/capturedoutput.h"

namespace {

using namespace NS_LOG_FLEET;
using namespace NS_TEST;
using ::testing::HasSubstr;

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

// The end of the file is sent when the file has been quiet for a moment: what the host says first
// is that it has it yet to send.
TEST_F(ShipperTest, SaysLastThatNothingIsLeftToSend) {
    WriteFile(LogPath(), Text());
    EXPECT_TRUE(Ship());
    ASSERT_GE(kept_.states.size(), 2U);
    EXPECT_GT(kept_.states.front().backlog, 0U);
    EXPECT_EQ(kept_.states.back().backlog, 0U);
    EXPECT_EQ(kept_.states.back().files, 1U);
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
    WriteFile(LogPath(), OtherText());
    EXPECT_TRUE(Ship());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_EQ(kept_.files[1].bytes, OtherText());
    EXPECT_TRUE(kept_.files[0].hasGone);
    EXPECT_EQ(kept_.files[0].lost, 0U);
}

class EmptiedFile : public ShipperTest {
  protected:
    // The file is emptied and written anew when its first part was taken.
    void ExpectCountsWhatIsLost(const std::string& before, const std::string& after) {
        WriteFile(LogPath(), before);
        kept_.whenSent = [&] {
            if (kept_.parts == 1) {
                WriteFile(LogPath(), after);
            }
        };
        const CapturedOutput errors(STDERR_FILENO);
        EXPECT_FALSE(Ship());
        ASSERT_EQ(kept_.files.size(), 2U);
        const Kept::File& old = kept_.files[0];
        EXPECT_THAT(errors.Text(),
                    HasSubstr(" was emptied and begins again; it was sent up to byte " +
                              std::to_string(old.bytes.size()) + " of " +
                              std::to_string(before.size()) + "\n"));
        EXPECT_TRUE(old.hasGone);
        EXPECT_GT(old.bytes.size(), 0U);
        EXPECT_LT(old.bytes.size(), before.size());
        EXPECT_EQ(old.lost, before.size() - old.bytes.size());
        EXPECT_TRUE(kept_.files[1].bytes == after);
        EXPECT_TRUE(kept_.files[1].isComplete);
    }
};

TEST_F(EmptiedFile, HasLostWhatWasNotSentOfTheOldContents) {
    ExpectCountsWhatIsLost(LargeText(1500), OtherText());
}

TEST_F(EmptiedFile, HasLostNoMoreWhenTheNewContentsAreLarger) {
    std::string after = LargeText(2500);
    after.replace(0, OtherText().find('\n'), OtherText(), 0, OtherText().find('\n'));
    ExpectCountsWhatIsLost(LargeText(1500), after);
}

TEST_F(EmptiedFile, BeginsAgainWhenTheTargetGoesAwayMeanwhile) {
    WriteFile(LogPath(), LargeText(1500));
    kept_.whenSent = [&] {
        if (kept_.parts == 1) {
            WriteFile(LogPath(), OtherText());
        }
    };
    kept_.whenGone = [isFirst = true]() mutable {
        if (std::exchange(isFirst, false)) {
            throw TargetError("the target is away", true);
        }
    };
    EXPECT_FALSE(Ship());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_TRUE(kept_.files[0].hasGone);
    EXPECT_EQ(kept_.files[1].bytes, OtherText());
}

TEST_F(EmptiedFile, HasLostNothingWhileItIsSentAgain) {
    WriteFile(LogPath(), LargeText(1500));
    ASSERT_TRUE(Ship());
    kept_.files[0].isWantedAgain = true;
    kept_.parts = 0;
    kept_.whenSent = [&] {
        if (kept_.parts == 1) {
            WriteFile(LogPath(), OtherText());
        }
    };
    EXPECT_FALSE(Ship());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_TRUE(kept_.files[0].hasGone);
    EXPECT_EQ(kept_.files[0].lost, 0U);
    EXPECT_EQ(kept_.files[1].bytes, OtherText());
}

TEST_F(ShipperTest, SendsAnIdleFileAgainThatTheTargetHasForgotten) {
    WriteFile(LogPath(), Text());
    WriteFile(LogPath("oper"), Text());
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

// It is done with the removed one before the copy.
TEST_F(ShipperTest, KnowsACopyThatHasTakenTheNameOfItsFile) {
    WriteFile(LogPath(), Text());
    kept_.whenSent = [&] {
        if (kept_.parts == 1) {
            std::filesystem::copy_file(LogPath(), Path("copy"));
            std::filesystem::rename(Path("copy"), LogPath());
        }
    };
    kept_.whenComplete = [&] { WriteFile(Path("another"), "has it look which files there are"); };
    EXPECT_TRUE(Ship());
    ASSERT_EQ(kept_.files.size(), 1U);
    EXPECT_EQ(kept_.files[0].bytes, Text());
    EXPECT_FALSE(kept_.files[0].hasGone);
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

// What the target has says nothing of what was to be sent again.
TEST_F(ShipperTest, SendsAllAgainAlthoughTheTargetGoesAwayInTheMiddle) {
    const std::string text = LargeText(3500);
    WriteFile(LogPath(), text);
    ASSERT_TRUE(Ship());
    for (char& byte : kept_.files[0].bytes) {
        byte = '?';
    }
    kept_.parts = 0;
    kept_.whenSent = [&] {
        if (kept_.parts == 2) {
            throw TargetError("the target is away", true);
        }
    };
    ShipSettings settings = Settings({Path()});
    settings.again = true;
    EXPECT_TRUE(MakeShipper(settings).Run());
    EXPECT_TRUE(kept_.files[0].bytes == text);
}

// Both have something to send in each round; the rate makes the larger one last.
TEST_F(ShipperTest, FinishesAFileWhileItSendsTheBacklogOfAnother) {
    WriteFile(LogPath(), Text());
    WriteFile(LogPath("oper"), LargeText(3000));
    ShipSettings settings = Settings({Path()});
    settings.bytesPerSecond = 1000000;
    std::vector<size_t> sizes;
    kept_.whenComplete = [&] {
        size_t size = 0;
        for (const Kept::File& file : kept_.files) {
            size += file.bytes.size();
        }
        sizes.push_back(size);
    };
    EXPECT_TRUE(MakeShipper(settings).Run());
    ASSERT_EQ(sizes.size(), 2U);
    EXPECT_LT(sizes.front(), sizes.back());
}

TEST_F(ShipperTest, KeepsNoEmptyFileOpenThatNobodyWrites) {
    WriteFile(LogPath("oper"), "");
    WriteFile(LogPath(), Text());
    const ShipSettings settings = Settings({Path()});
    Shipper shipper = MakeShipper(settings);
    EXPECT_TRUE(shipper.Run());
    ASSERT_EQ(kept_.files.size(), 1U);
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        EXPECT_NE(std::filesystem::read_symlink(entry, gone), LogPath("oper"));
    }
}

TEST_F(ShipperTest, SendsAFileThatWasEmptyForLong) {
    WriteFile(LogPath(), Text());
    WriteFile(LogPath("oper"), "");
    ShipSettings settings = Settings({Path()});
    settings.once = false;
    Shipper shipper = MakeShipper(settings);
    kept_.whenComplete = [&] {
        if (kept_.files.size() == 1) {
            WriteFile(LogPath("oper"), Text());
            WriteFile(Path("another"), "has it look which files there are");
        } else {
            shipper.Stop();
        }
    };
    EXPECT_TRUE(shipper.Run());
    ASSERT_EQ(kept_.files.size(), 2U);
    EXPECT_EQ(kept_.files[1].bytes, Text());
}

// Somebody writes to it by hand, say.
TEST_F(ShipperTest, SendsNoMoreThanWhatIsNewOfAFileThatGrowsBehindItsWritersEnd) {
    WriteFile(LogPath(), Text());
    ShipSettings settings = Settings({Path()});
    settings.once = false;
    settings.again = true;
    Shipper shipper = MakeShipper(settings);
    kept_.whenComplete = [&] {
        if (kept_.files[0].bytes.size() > Text().size()) {
            shipper.Stop();
            return;
        }
        kept_.files[0].bytes[60] = '?';
        WriteFile(LogPath(), Text() + Text());
        WriteFile(Path("another"), "has it look which files there are");
    };
    EXPECT_TRUE(shipper.Run());
    EXPECT_EQ(kept_.asks, 1);
    std::string expected = Text() + Text();
    expected[60] = '?';
    EXPECT_EQ(kept_.files[0].bytes, expected);
}

// Its record takes a day at this rate.
TEST_F(ShipperTest, StopsWhileItKeepsToItsRate) {
    WriteFile(LogPath(),
              "2026-03-05T14:07:08.000001+01:00," + std::string(100000, 'x') + "\n" + Text());
    ShipSettings settings = Settings({Path()});
    settings.once = false;
    settings.bytesPerSecond = 1;
    Shipper shipper = MakeShipper(settings);
    kept_.whenSent = [&shipper] { shipper.Stop(); };
    EXPECT_TRUE(shipper.Run());
    EXPECT_EQ(kept_.parts, 1);
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

TEST(Pace, TakesPartsThatAreSentSoon) {
    EXPECT_EQ(Pace(0).PartSize(), 1048576U);
    EXPECT_EQ(Pace(1000).PartSize(), 250U);
    EXPECT_EQ(Pace(1).PartSize(), 1U);
    EXPECT_EQ(Pace(1000000000).PartSize(), 1048576U);
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
