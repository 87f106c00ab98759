// The filtered cache of a channel, and its dumps.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "channel/channel.h"
#include "channel/channelfixture.h"
#include "util/threadcontext.h"

namespace fs = std::filesystem;

using NS_TEST::DumpedFrame;
using NS_TEST::DumpFrame;
using NS_TEST::Frame;
using NS_TEST::kClosed;
using NS_TEST::kCreated;
using NS_TEST::ParsedPiece;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;
using NS_TEST::WriteFile;

namespace NS_LOG_SERVICE1 {
namespace {

class ChannelCache : public NS_TEST::ChannelTest {
  protected:
    void Make(uint32_t cacheLength, uint32_t fileSize = 100000000) {
        channel_.reset();
        channel_ = std::make_unique<TEDebugInfoBuf>("debug", 100, cacheLength, fileSize, 5);
    }
    void Keep(const std::string& detail, int level = 3) {
        channel_->AppendFiltered(WithDetail(level, detail).Get());
    }
    void Queue(const std::string& detail, int level = 1) {
        channel_->AppendOutputInfo(WithDetail(level, detail).Get());
    }
    void Output(const std::string& detail, int level) {
        channel_->Output(WithDetail(level, detail).Get());
    }
    std::string Written() const { return ReadFile(Path("log/" + NameNow())); }

    // The frame of a maintenance dump that this thread ordered; only the line is taken from `text`.
    static std::string Maintenance(const std::string& text, uint64_t number,
                                   const std::string& dumped) {
        const std::string n = std::to_string(number);
        const std::string function = " Func:TEDebugInfoBuf::OutputAll Line:";
        const size_t line = text.find(function) + function.size();
        const std::string shown = text.substr(line, text.find('\n', line) - line);
        EXPECT_GT(std::stoul(shown), 0u);
        return "<" + n + ">\n2024-03-05T14:07:09.654321+00:00, O,TopT:9,If:flush,UserMsg:me, T:" +
               std::to_string(static_cast<long>(pthread_self())) + ", DL:3, File: " + function +
               shown + "\n Detail: The follow message was dump by maintenance command flushall." +
               "\n*********** Dump filtered debug information begin **********\n" + dumped +
               "*********** Dump filtered debug information end **********\n</" + n + ">\n\n";
    }

    const NS_UTIL::ThreadContextScope scope_{NS_UTIL::ThreadContextInfo(9, "flush", "me", "O")};
    std::unique_ptr<TEDebugInfoBuf> channel_;
};

TEST_F(ChannelCache, WritesNothingByItself) {
    Make(2);
    EXPECT_EQ(channel_->KeptCapacity(), 2u);
    for (int i = 0; i < 10; ++i) {
        Keep("kept");
        Keep("grave but off", 0);
    }
    EXPECT_FALSE(fs::exists(Path("log")));
    Output("one", 1);
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one"));
}

TEST_F(ChannelCache, IsDumpedAroundALevelZeroRecord) {
    Make(2);
    Keep("A");
    Keep("B");
    Keep("C");
    Output("E", 0);
    const std::string first =
        kCreated + DumpFrame(1, 0, "E", DumpedFrame(3, "B") + DumpedFrame(3, "C"));
    EXPECT_EQ(Written(), first);
    Output("F", 0);
    EXPECT_EQ(Written(), first + DumpFrame(2, 0, "F", ""));
}

TEST_F(ChannelCache, IsDumpedInQueuedModeToo) {
    Make(2);
    Keep("A");
    Keep("B");
    Keep("C");
    Queue("E", 0);
    const std::string first =
        kCreated + DumpFrame(1, 0, "E", DumpedFrame(3, "B") + DumpedFrame(3, "C"));
    EXPECT_EQ(Written(), first);
    Queue("F", 0);
    EXPECT_EQ(Written(), first + DumpFrame(2, 0, "F", ""));
}

TEST_F(ChannelCache, MayHoldNothing) {
    Make(0);
    Keep("A");
    Keep("B");
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 0u);
    Output("E", 0);
    EXPECT_EQ(Written(), kCreated + DumpFrame(1, 0, "E", ""));
}

TEST_F(ChannelCache, KeepsALevelZeroRecordWithoutADump) {
    Make(5);
    Keep("grave but off", 0);
    Keep("short", -2);
    EXPECT_FALSE(fs::exists(Path("log")));
    Output("E", 0);
    EXPECT_EQ(Written(),
              kCreated +
                  DumpFrame(1, 0, "E", DumpedFrame(0, "grave but off") + DumpedFrame(-2, "short")));
}

TEST_F(ChannelCache, IsNotDumpedByOtherLevels) {
    Make(5);
    Keep("kept");
    for (const int level : {1, 2, 3, -1, -2, -3}) {
        Output("direct", level);
        Queue("queued", level);
    }
    channel_->Flush();
    EXPECT_EQ(Written().find("kept"), std::string::npos);
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 1u);
}

TEST_F(ChannelCache, OwnsWhatItKeeps) {
    Make(5);
    auto record = WithDetail(3, "a text that is too long to stand in the string object itself");
    channel_->AppendFiltered(record.Get());
    const std::string original = record.detail;
    record.detail.assign(record.detail.size(), 'x');
    record.context.assign(record.context.size(), 'x');
    Output("E", 0);
    EXPECT_EQ(Written(), kCreated + DumpFrame(1, 0, "E", DumpedFrame(3, original)));
}

TEST_F(ChannelCache, FillsAgainAfterADump) {
    Make(2);
    std::string expected = kCreated;
    for (uint64_t round = 1; round <= 5; ++round) {
        for (int i = 0; i < 5; ++i) {
            Keep(std::to_string(round) + "/" + std::to_string(i));
        }
        Output("E", 0);
        expected += DumpFrame(round, 0, "E",
                              DumpedFrame(3, std::to_string(round) + "/3") +
                                  DumpedFrame(3, std::to_string(round) + "/4"));
    }
    EXPECT_EQ(Written(), expected);
}

TEST_F(ChannelCache, OfUsualSizeIsDumpedIntoOneFileWhateverTheLimit) {
    LetFilesDiffer();
    Make(128, 500);
    std::string lines;
    for (int i = 0; i < 130; ++i) {
        const std::string detail = std::to_string(i) + std::string(200, 'x');
        Keep(detail);
        lines += i >= 2 ? DumpedFrame(3, detail) : "";
    }
    Output("E", 0);
    EXPECT_EQ(Contents(Path("log")),
              std::vector<std::string>({"File create at 2024-03-05T14:07:09.654321+00:00.\n" +
                                            DumpFrame(1, 0, "E", lines) +
                                            "\nFile close at 2024-03-05T14:07:10.654321+00:00.\n",
                                        "File create at 2024-03-05T14:07:10.654321+00:00.\n"}));
}

TEST_F(ChannelCache, IsLostWhenTheChannelEnds) {
    Make(5);
    Keep("lost");
    Output("one", 1);
    channel_.reset();
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + kClosed);
}

TEST_F(ChannelCache, IsEmptiedWhereNoFileCanBeOpened) {
    WriteFile(Path("log"), "a file in the way");
    Make(5);
    Keep("lost");
    Output("E", 0);
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 0u);
    Keep("lost too");
    channel_->OutputAll();
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 0u);
    fs::remove(Path("log"));
    Output("F", 0);
    EXPECT_EQ(Written(), kCreated + DumpFrame(3, 0, "F", ""));
}

TEST_F(ChannelCache, IsDumpedOnOrder) {
    Make(5);
    Keep("A");
    Keep("B");
    channel_->OutputAll();
    EXPECT_EQ(Written(),
              kCreated + Maintenance(Written(), 1, DumpedFrame(3, "A") + DumpedFrame(3, "B")));
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 0u);
}

TEST_F(ChannelCache, IsDumpedOnOrderBehindTheQueue) {
    Make(5);
    Keep("A");
    Queue("one");
    Queue("two", -1);
    channel_->OutputAll();
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + Frame(2, -1, "two") +
                             Maintenance(Written(), 3, DumpedFrame(3, "A")));
    EXPECT_EQ(channel_->Statistics().queued.Get(), 0u);
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 0u);
}

TEST_F(ChannelCache, IsDumpedOnOrderWithAQueueOnly) {
    Make(5);
    Queue("one");
    channel_->OutputAll();
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + Maintenance(Written(), 2, ""));
}

TEST_F(ChannelCache, IsDumpedOnOrderEvenWhenEmpty) {
    Make(5);
    channel_->OutputAll();
    const std::string first = kCreated + Maintenance(Written(), 1, "");
    EXPECT_EQ(Written(), first);
    channel_->OutputAll();
    EXPECT_EQ(Written(), first + Maintenance(Written(), 2, ""));
}

TEST_F(ChannelCache, KeepsItsCapacityAfterADumpOnOrder) {
    Make(2);
    for (uint64_t round = 1; round <= 3; ++round) {
        Keep("A");
        Keep("B");
        Keep("C");
        channel_->OutputAll();
    }
    const auto pieces = NS_TEST::OfKind(NS_TEST::ParseLogText(Written()), ParsedPiece::DUMP);
    ASSERT_EQ(pieces.size(), 3u);
    for (const ParsedPiece& piece : pieces) {
        ASSERT_EQ(piece.dumped.size(), 2u);
        EXPECT_EQ(piece.dumped[0].detail, "B");
        EXPECT_EQ(piece.dumped[1].detail, "C");
    }
    EXPECT_EQ(channel_->KeptCapacity(), 2u);
}

TEST_F(ChannelCache, OfADumpOnOrderIsWrittenWhole) {
    LetFilesDiffer();
    Make(128, 100);
    Calls().SetClock(kNow, 654321, 1);
    for (int i = 0; i < 128; ++i) {
        Keep(std::to_string(i));
    }
    channel_->OutputAll();
    const auto pieces = NS_TEST::ParseLogDirectory(Path("log"));
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(pieces[1].kind, ParsedPiece::DUMP);
    EXPECT_EQ(pieces[1].dumped.size(), 128u);
    EXPECT_EQ(pieces[2].kind, ParsedPiece::FILE_CLOSED);
    EXPECT_EQ(pieces[3].kind, ParsedPiece::FILE_CREATED);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
