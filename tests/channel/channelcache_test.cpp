// The filtered cache of a channel, and its dumps.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "channel/channelfixture.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class ChannelCache : public ChannelTest {};

TEST_F(ChannelCache, WritesNothingByItselfNorForRecordsOfOtherLevels) {
    Keep("kept");
    Keep("grave but off", 0);
    Keep("short", -2);
    EXPECT_FALSE(fs::exists(Path("log")));
    for (const int level : {1, 2, 3, -1, -2, -3}) {
        Output("direct", level);
        Queue("queued", level);
    }
    channel_->Flush();
    EXPECT_EQ(Written().find("Dump"), std::string::npos);
    EXPECT_EQ(Cached(), 3u);
    Output("E", 0);
    const std::string dump = DumpFrame(
        13, "E", DumpedFrame("kept") + DumpedFrame("grave but off", 0) + DumpedFrame("short", -2));
    EXPECT_EQ(Written().substr(Written().size() - dump.size()), dump);
}

// In either mode of output, and on order: the cache rolls, is dumped, and fills again.
TEST_F(ChannelCache, IsDumpedWithItsNewestRecordsAgainAndAgain) {
    for (const int way : {0, 1, 2}) {
        Make(10, 2);
        EXPECT_EQ(channel_->KeptCapacity(), 2u);
        std::string expected = Created();
        for (uint64_t number = 1; number <= 6; ++number) {
            std::string dumped;
            if (number % 3 != 0) {
                for (const char* const detail : {"A", "B", "C", "D"}) {
                    Keep(detail);
                }
                EXPECT_EQ(Cached(), 2u);
                dumped = DumpedFrame("C") + DumpedFrame("D");
            }
            if (way == 2) {
                channel_->OutputAll();
                expected += OrderedDump(number, dumped);
            } else {
                way == 0 ? Output("E", 0) : Queue("E", 0);
                expected += DumpFrame(number, "E", dumped);
            }
            EXPECT_EQ(Written(), expected);
            EXPECT_EQ(Cached(), 0u);
        }
        EXPECT_EQ(channel_->Statistics().evicted.Get(), 4u * 2u);
        EXPECT_EQ(channel_->FileStatistics().recordsDumped.Get(), 4u * 2u);
        EXPECT_EQ(channel_->FileStatistics().recordsWritten.Get(), 6u);
        EXPECT_EQ(channel_->KeptCapacity(), 2u);
    }
}

TEST_F(ChannelCache, MayHoldNothing) {
    Make(10, 0);
    Keep("A");
    EXPECT_EQ(Cached(), 0u);
    EXPECT_EQ(channel_->Statistics().evicted.Get(), 1u);
    Output("E", 0);
    EXPECT_EQ(Written(), Created() + DumpFrame(1, "E"));
}

TEST_F(ChannelCache, IsDumpedOnOrderBehindTheQueue) {
    Keep("A");
    Queue("one");
    Queue("two", -1);
    channel_->OutputAll();
    std::string expected =
        Created() + Frame(1, "one") + Frame(2, "two", -1) + OrderedDump(3, DumpedFrame("A"));
    EXPECT_EQ(Written(), expected);
    EXPECT_EQ(Queued(), 0u);
    EXPECT_EQ(Cached(), 0u);
    Queue("three");
    channel_->OutputAll();
    EXPECT_EQ(Written(), expected + Frame(4, "three") + OrderedDump(5));
}

TEST_F(ChannelCache, IsLostWhenTheChannelEnds) {
    Keep("lost");
    Output("one");
    channel_.reset();
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Closed());
}

TEST_F(ChannelCache, IsEmptiedWhereNoFileCanBeOpened) {
    RefuseFiles();
    Keep("lost");
    Output("E", 0);
    EXPECT_EQ(Cached(), 0u);
    Keep("lost too");
    channel_->OutputAll();
    EXPECT_EQ(Cached(), 0u);
    EXPECT_EQ(channel_->FileStatistics().recordsDropped.Get(), 4u);
    Calls().ScriptOpens(nullptr);
    Output("F", 0);
    EXPECT_EQ(Written(), Created() + DumpFrame(3, "F"));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
