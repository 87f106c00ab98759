// The record queue of a channel.
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
using NS_TEST::ListFiles;
using NS_TEST::ParsedPiece;
using NS_TEST::ReadFile;
using NS_TEST::WithDetail;
using NS_TEST::WriteFile;

namespace NS_LOG_SERVICE1 {
namespace {

class ChannelQueue : public NS_TEST::ChannelTest {
  protected:
    void Make(uint32_t queueLength, uint32_t cacheLength = 10, uint32_t fileSize = 100000000) {
        channel_.reset();
        channel_ = std::make_unique<TEDebugInfoBuf>("debug", queueLength, cacheLength, fileSize, 5);
    }
    void Queue(const std::string& detail, int level = 1) {
        channel_->AppendOutputInfo(WithDetail(level, detail).Get());
    }
    void Keep(const std::string& detail) { channel_->AppendFiltered(WithDetail(3, detail).Get()); }
    bool NothingWritten() const { return !fs::exists(Path("log")); }
    std::string Written() const { return ReadFile(Path("log/" + NameNow())); }
    std::vector<ParsedPiece> Pieces() const { return NS_TEST::ParseLogText(Written()); }

    // The details of the file's records in order, "number:level:detail".
    std::vector<std::string> Shown() const {
        std::vector<std::string> shown;
        for (const ParsedPiece& piece : Pieces()) {
            if (piece.kind != ParsedPiece::FILE_CREATED && piece.kind != ParsedPiece::FILE_CLOSED) {
                shown.push_back(std::to_string(piece.number) + ":" +
                                std::to_string(piece.record.level) + ":" + piece.record.detail);
            }
        }
        return shown;
    }

    using Texts = std::vector<std::string>;

    const std::string notice_ = "Debug cache is full, force output execute.";
    std::unique_ptr<TEDebugInfoBuf> channel_;
};

TEST_F(ChannelQueue, IsWrittenOutByTheRecordThatFillsIt) {
    Make(3);
    EXPECT_EQ(channel_->QueueCapacity(), 3u);
    Queue("one");
    Queue("two");
    EXPECT_TRUE(NothingWritten());
    Queue("three");
    EXPECT_EQ(Shown(), Texts({"1:1:one", "2:1:two", "3:1:three", "4:1:" + notice_}));
}

TEST_F(ChannelQueue, IsFollowedByANoticeOfTheCallingThread) {
    Make(2);
    const NS_UTIL::ThreadContextScope scope(NS_UTIL::ThreadContextInfo(9, "notice", "me", "O"));
    Queue("one");
    Queue("two");
    const auto pieces = Pieces();
    ASSERT_EQ(pieces.size(), 4u);
    const std::string line = pieces[3].record.line;
    EXPECT_GT(std::stoul(line), 0u);
    EXPECT_EQ(Written(),
              kCreated + Frame(1, 1, "one") + Frame(2, 1, "two") +
                  "<3>\n2024-03-05T14:07:09.654321+00:00, O,TopT:9,If:notice,UserMsg:me, T:" +
                  std::to_string(static_cast<long>(pthread_self())) +
                  ", DL:1, File:  Func:TEDebugInfoBuf::AppendOutputInfo Line:" + line +
                  "\n Detail: Debug cache is full, force output execute.\n</3>\n\n");
}

TEST_F(ChannelQueue, FillsAgainAfterItWasWrittenOut) {
    Make(2);
    for (const char* const detail : {"one", "two", "three"}) {
        Queue(detail);
    }
    EXPECT_EQ(Shown(), Texts({"1:1:one", "2:1:two", "3:1:" + notice_}));
    Queue("four");
    EXPECT_EQ(Shown(), Texts({"1:1:one", "2:1:two", "3:1:" + notice_, "4:1:three", "5:1:four",
                              "6:1:" + notice_}));
}

TEST_F(ChannelQueue, OfOneOrNoRecordIsWrittenOutByEachRecord) {
    for (const uint32_t capacity : {0u, 1u}) {
        Make(capacity);
        Queue("one");
        Queue("two");
        EXPECT_EQ(Shown(), Texts({"1:1:one", "2:1:" + notice_, "3:1:two", "4:1:" + notice_}));
    }
}

TEST_F(ChannelQueue, TakesRecordsOfNegativeLevels) {
    Make(4);
    Queue("dump", -1);
    Queue("short", -2);
    Queue("other", -7);
    EXPECT_TRUE(NothingWritten());
    channel_->Flush();
    EXPECT_EQ(Written(), kCreated + Frame(1, -1, "dump") +
                             "2024-03-05T14:07:09.123456+00:00,short\n" + Frame(3, -7, "other"));
}

TEST_F(ChannelQueue, IsWrittenBeforeALevelZeroRecordAndItsDump) {
    Make(10);
    Queue("one");
    Keep("kept");
    Queue("two");
    Queue("error", 0);
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + Frame(2, 1, "two") +
                             DumpFrame(3, 0, "error", DumpedFrame(3, "kept")));
    EXPECT_EQ(channel_->Statistics().queued.Get(), 0u);
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 0u);
    Queue("again", 0);
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + Frame(2, 1, "two") +
                             DumpFrame(3, 0, "error", DumpedFrame(3, "kept")) +
                             DumpFrame(4, 0, "again", ""));
}

TEST_F(ChannelQueue, NeverHoldsALevelZeroRecord) {
    Make(1);
    Queue("error", 0);
    EXPECT_EQ(Written(), kCreated + DumpFrame(1, 0, "error", ""));
}

TEST_F(ChannelQueue, IsPassedByRecordsThatAreWrittenAtOnce) {
    Make(10);
    Queue("queued");
    channel_->Output(WithDetail(1, "direct").Get());
    EXPECT_EQ(Shown(), Texts({"1:1:direct"}));
    channel_->Output(WithDetail(0, "error").Get());
    EXPECT_EQ(Shown(), Texts({"1:1:direct", "2:0:error"}));
    channel_->Flush();
    EXPECT_EQ(Shown(), Texts({"1:1:direct", "2:0:error", "3:1:queued"}));
}

TEST_F(ChannelQueue, IsWrittenByFlush) {
    Make(10);
    Queue("one");
    Queue("two");
    channel_->Flush();
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + Frame(2, 1, "two"));
    channel_->Flush();
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + Frame(2, 1, "two"));
    Queue("three");
    channel_->Flush();
    EXPECT_EQ(Shown(), Texts({"1:1:one", "2:1:two", "3:1:three"}));
}

TEST_F(ChannelQueue, OpensTheFileWhenItIsFlushedEmpty) {
    Make(10);
    channel_->Flush();
    EXPECT_EQ(Written(), kCreated);
    channel_->Flush();
    EXPECT_EQ(Written(), kCreated);
    EXPECT_EQ(Calls().Opens(), 1u);
}

TEST_F(ChannelQueue, IsWrittenBeforeTheClosingLine) {
    Make(10);
    Queue("one");
    Keep("kept and lost");
    Queue("two");
    channel_.reset();
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one") + Frame(2, 1, "two") + kClosed);
}

TEST_F(ChannelQueue, OpensAFileEvenWhenItEndsEmpty) {
    Make(10);
    channel_.reset();
    EXPECT_EQ(Written(), std::string(kCreated) + kClosed);
}

TEST_F(ChannelQueue, OwnsWhatIsQueued) {
    Make(10);
    auto record = WithDetail(1, "a text that is too long to stand in the string object itself");
    channel_->AppendOutputInfo(record.Get());
    const std::string original = record.detail;
    record.detail.assign(record.detail.size(), 'x');
    record.file.assign(record.file.size(), 'x');
    record.function.assign(record.function.size(), 'x');
    record.context.assign(record.context.size(), 'x');
    channel_->Flush();
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, original));
}

TEST_F(ChannelQueue, TakesOutsizedRecordsBetweenSmallOnes) {
    Make(1000);
    const std::string large(1 << 20, 'L');
    std::string expected = kCreated;
    uint64_t number = 0;
    for (int round = 0; round < 3; ++round) {
        for (const std::string& detail : {std::string("before"), large, std::string("between"),
                                          large, large + "more", std::string("after")}) {
            Queue(detail);
            expected += Frame(++number, 1, detail);
        }
        channel_->Flush();
        EXPECT_TRUE(Written() == expected);
    }
}

TEST_F(ChannelQueue, KeepsItsOrderOverManyBatches) {
    Make(100);
    for (int i = 0; i < 1050; ++i) {
        Queue(std::to_string(i));
    }
    channel_->Flush();
    int next = 0;
    uint64_t number = 0;
    for (const ParsedPiece& piece : NS_TEST::OfKind(Pieces(), ParsedPiece::RECORD)) {
        EXPECT_EQ(piece.number, ++number);
        if (number % 101 == 0) {
            EXPECT_EQ(piece.record.detail, notice_);
        } else {
            EXPECT_EQ(piece.record.detail, std::to_string(next++));
        }
    }
    EXPECT_EQ(next, 1050);
    EXPECT_EQ(number, 1060u);
}

TEST_F(ChannelQueue, RotatesWithinABatch) {
    LetFilesDiffer();
    const auto frame = static_cast<uint32_t>(Frame(1, 1, "text").size());
    Make(5, 10, 49 + 2 * frame);
    for (int i = 0; i < 5; ++i) {
        Queue("text");
    }
    const auto contents = Contents(Path("log"));
    ASSERT_EQ(contents.size(), 4u);
    EXPECT_EQ(contents[0], "File create at 2024-03-05T14:07:09.654321+00:00.\n" +
                               Frame(1, 1, "text") + Frame(2, 1, "text") +
                               "\nFile close at 2024-03-05T14:07:10.654321+00:00.\n");
    EXPECT_EQ(contents[1].find("File create at 2024-03-05T14:07:10.654321+00:00.\n<3>"), 0u);
    EXPECT_EQ(contents[2].find("File create at 2024-03-05T14:07:11.654321+00:00.\n<5>"), 0u);
    EXPECT_EQ(contents[3], "File create at 2024-03-05T14:07:12.654321+00:00.\n");
}

TEST_F(ChannelQueue, IsEmptiedWhereNoFileCanBeOpened) {
    WriteFile(Path("log"), "a file in the way");
    Make(10);
    Queue("lost");
    channel_->Flush();
    fs::remove(Path("log"));
    channel_->Flush();
    EXPECT_EQ(Written(), kCreated);
    Queue("one");
    channel_->Flush();
    // Records that were lost in a batch had no numbers yet.
    EXPECT_EQ(Written(), kCreated + Frame(1, 1, "one"));
    EXPECT_EQ(ListFiles(Path("log")), Texts({NameNow()}));
}

TEST_F(ChannelQueue, IsEmptiedByItsLimitWhereNoFileCanBeOpened) {
    WriteFile(Path("log"), "a file in the way");
    Make(2);
    Queue("lost");
    Queue("lost too");
    EXPECT_EQ(channel_->Statistics().queued.Get(), 0u);
    fs::remove(Path("log"));
    Queue("three");
    channel_->Flush();
    // The notice tried for a file itself, and used up a number.
    EXPECT_EQ(Shown(), Texts({"2:1:three"}));
}

TEST_F(ChannelQueue, IsEmptiedByALevelZeroRecordWhereNoFileCanBeOpened) {
    WriteFile(Path("log"), "a file in the way");
    Make(10);
    Queue("lost");
    Keep("lost too");
    Queue("error", 0);
    EXPECT_EQ(channel_->Statistics().queued.Get(), 0u);
    EXPECT_EQ(channel_->Statistics().keptBack.Get(), 0u);
    fs::remove(Path("log"));
    Queue("again", 0);
    EXPECT_EQ(Written(), kCreated + DumpFrame(2, 0, "again", ""));
}

TEST_F(ChannelQueue, KeepsItsCapacity) {
    uint32_t queueLength = 2;
    uint32_t cacheLength = 1;
    uint32_t fileSize = 100000;
    uint32_t fileCount = 5;
    TEDebugInfoBuf channel("debug", queueLength, cacheLength, fileSize, fileCount);
    queueLength = 100;
    cacheLength = 100;
    fileSize = 1;
    EXPECT_EQ(channel.QueueCapacity(), 2u);
    EXPECT_EQ(channel.KeptCapacity(), 1u);
    channel.AppendOutputInfo(WithDetail(1, "one").Get());
    channel.AppendOutputInfo(WithDetail(1, "two").Get());
    EXPECT_EQ(Shown(), Texts({"1:1:one", "2:1:two", "3:1:" + notice_}));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
