// The record queue of a channel.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "channel/channelfixture.h"

namespace fs = std::filesystem;

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class ChannelQueue : public ChannelTest {};

TEST_F(ChannelQueue, IsWrittenOutByTheRecordThatFillsIt) {
    Make(2);
    EXPECT_EQ(channel_->QueueCapacity(), 2u);
    Queue("one");
    EXPECT_FALSE(fs::exists(Path("log")));
    Queue("two");
    std::string expected = Created() + Frame(1, "one") + Frame(2, "two") + Notice(3);
    EXPECT_EQ(Written(), expected);
    Queue("three");
    EXPECT_EQ(Queued(), 1u);
    EXPECT_EQ(Written(), expected);
    Queue("four");
    expected += Frame(4, "three") + Frame(5, "four") + Notice(6);
    EXPECT_EQ(Written(), expected);
    EXPECT_EQ(Queued(), 0u);
    EXPECT_EQ(channel_->Statistics().queuedMost.Get(), 2u);
    EXPECT_EQ(channel_->FileStatistics().recordsWritten.Get(), 6u);
}

TEST_F(ChannelQueue, OfOneOrNoRecordIsWrittenOutByEachRecord) {
    for (const uint32_t capacity : {0u, 1u}) {
        Make(capacity);
        Queue("one");
        Queue("two");
        EXPECT_EQ(Written(), Created() + Frame(1, "one") + Notice(2) + Frame(3, "two") + Notice(4));
    }
}

// What a record's texts take beside its detail.
size_t TextsBesideTheDetail() {
    const auto record = WithDetail("");
    return record.file.size() + record.function.size() + record.context.size();
}

TEST_F(ChannelQueue, IsFullOnceItsTextsReachTheirLimit) {
    channel_->LimitQueueBytes(2 * TextsBesideTheDetail() + 10);
    Queue("12345");
    Queue("1234");
    EXPECT_EQ(Queued(), 2u) << "a byte is left";
    channel_->Flush();
    std::string expected = Created() + Frame(1, "12345") + Frame(2, "1234");
    Queue("12345");
    Queue("54321");
    expected += Frame(3, "12345") + Frame(4, "54321") + Notice(5);
    EXPECT_EQ(Written(), expected);
    channel_->LimitQueueBytes(1);
    Queue("");
    expected += Frame(6, "") + Notice(7);
    EXPECT_EQ(Written(), expected);
    channel_->LimitQueueBytes(0);
    Queue(std::string(100000, 'x'));
    EXPECT_EQ(Queued(), 1u);
}

TEST_F(ChannelQueue, IsWrittenByFlushAndPassedByRecordsThatAreWrittenAtOnce) {
    Queue("two");
    Queue("three", -1);
    Queue("four", -2);
    Queue("five", -7);
    EXPECT_FALSE(fs::exists(Path("log")));
    Output("one");
    EXPECT_EQ(Written(), Created() + Frame(1, "one"));
    Output("error", 0);
    std::string expected = Created() + Frame(1, "one") + DumpFrame(2, "error");
    EXPECT_EQ(Written(), expected);
    EXPECT_EQ(Queued(), 4u);
    expected += Frame(3, "two") + Frame(4, "three", -1) + ShortFrame("four") + Frame(6, "five", -7);
    for (int i = 0; i < 2; ++i) {
        channel_->Flush();
        EXPECT_EQ(Written(), expected);
        EXPECT_EQ(Queued(), 0u);
    }
    EXPECT_EQ(channel_->Statistics().queuedMost.Get(), 4u);
}

TEST_F(ChannelQueue, IsWrittenBeforeALevelZeroRecordWhichIsNeverQueued) {
    Queue("one");
    Keep("kept");
    Queue("two");
    Queue("error", 0);
    const std::string expected =
        Created() + Frame(1, "one") + Frame(2, "two") + DumpFrame(3, "error", DumpedFrame("kept"));
    EXPECT_EQ(Written(), expected);
    EXPECT_EQ(Queued(), 0u);
    EXPECT_EQ(Cached(), 0u);
    Queue("again", 0);
    EXPECT_EQ(Written(), expected + DumpFrame(4, "again"));
    Make(1);
    Queue("error", 0);
    EXPECT_EQ(Written(), Created() + DumpFrame(1, "error"));
}

TEST_F(ChannelQueue, OpensTheFileWhenItIsFlushedEmpty) {
    for (int i = 0; i < 2; ++i) {
        channel_->Flush();
        EXPECT_EQ(Written(), Created());
    }
    EXPECT_EQ(Calls().Opens(), 1u);
}

TEST_F(ChannelQueue, IsWrittenBeforeTheClosingLine) {
    Queue("one");
    Queue("two");
    channel_.reset();
    EXPECT_EQ(Written(), Created() + Frame(1, "one") + Frame(2, "two") + Closed());
    Make();
    channel_.reset();
    EXPECT_EQ(Written(), Created() + Closed());
}

TEST_F(ChannelQueue, RotatesWithinABatchAndBehindTheNotice) {
    LetFilesDiffer();
    Make(3, 10, kCreatedSize + 2 * static_cast<uint32_t>(Frame(1, "text").size()));
    for (int i = 0; i < 3; ++i) {
        Queue("text");
    }
    const std::string written = Written();
    const std::string expected = Created() + Frame(1, "text") + Frame(2, "text") + Closed(1) +
                                 Created(1) + Frame(3, "text") + "<4>\n";
    EXPECT_EQ(written.substr(0, expected.size()), expected);
    EXPECT_EQ(written.substr(written.size() - (Closed(2) + Created(2)).size()),
              Closed(2) + Created(2));
}

// Records that are lost with their batch have no numbers yet; the notice and a dump try for a file
// themselves, and use up a number.
TEST_F(ChannelQueue, IsEmptiedWhereNoFileCanBeOpened) {
    struct Case {
        std::function<void()> empty;
        uint64_t lost;
        uint64_t next;
    };
    for (const Case& c : {Case{[this] { channel_->Flush(); }, 2, 1},
                          Case{[this] { Queue("lost"); }, 4, 2},  // it, and the notice
                          Case{[this] { Queue("lost", 0); }, 4, 2},
                          Case{[this] { channel_->OutputAll(); }, 4, 2}}) {
        Make(3);
        RefuseFiles();
        Queue("lost");
        Queue("lost");
        Keep("lost with a dump");
        c.empty();
        EXPECT_EQ(Queued(), 0u);
        EXPECT_EQ(channel_->FileStatistics().recordsDropped.Get(), c.lost);
        Calls().ScriptOpens(nullptr);
        Output("next");
        EXPECT_EQ(Written(), Created() + Frame(c.next, "next"));
    }
}

TEST_F(ChannelQueue, CostsOneSystemCallForABatch) {
    Make(1000);
    channel_->Flush();
    const auto expectWrites = [](uint64_t count, int records, const auto& operation) {
        Calls().ScriptWrites(nullptr);
        for (int i = 0; i < records; ++i) {
            operation();
        }
        EXPECT_EQ(Calls().Writes(), count);
    };
    const auto queue = [this] { Queue("text"); };
    expectWrites(0, 999, queue);
    expectWrites(2, 1, queue);  // the batch, and the notice behind it
    expectWrites(0, 500, queue);
    expectWrites(1, 1, [this] { channel_->Flush(); });
    expectWrites(1, 1, [this] { Output("text"); });
    expectWrites(0, 1, [this] { Keep("text"); });
    expectWrites(1, 1, [this] { Output("text", 0); });
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
