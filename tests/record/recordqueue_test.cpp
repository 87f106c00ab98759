// Records in the order of their arrival.
#include "record/recordqueue.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/records.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

constexpr size_t kOutsized = 1 << 20;

bool HasRoom(const RecordQueue& queue) {
    return queue.HasRoomFor(PackedSize(OwnedRecord().Get()));
}

void AddChunk(RecordQueue& queue, size_t packedSize) {
    RecordQueue::Chunks chunk = RecordQueue::MakeChunk(packedSize);
    queue.AddChunk(chunk);
}

void AppendAll(RecordQueue& queue, const Texts& details) {
    for (const std::string& detail : details) {
        AppendTo(queue, WithDetail(detail));
    }
}

Texts Queued(const RecordQueue& queue) {
    Texts details;
    for (const LogRecord& record : queue) {
        details.emplace_back(record.detail);
    }
    EXPECT_EQ(queue.Count(), details.size());
    return details;
}

TEST(RecordQueue, StartsEmptyAndPutsManyRecordsIntoAChunk) {
    RecordQueue queue;
    EXPECT_EQ(Queued(queue), Texts());
    EXPECT_FALSE(HasRoom(queue));
    EXPECT_TRUE(queue.Clear().empty());
    AddChunk(queue, 1);
    for (int number = 0; number < 100; ++number) {
        ASSERT_TRUE(HasRoom(queue));
        queue.Append(WithDetail("text").Get());
    }
    EXPECT_EQ(Queued(queue), Texts(100, "text"));
}

TEST(RecordQueue, NeedsNoChunkAfterItWasCleared) {
    RecordQueue queue;
    AppendAll(queue, Texts(1000, "text"));
    EXPECT_TRUE(queue.Clear().empty());
    EXPECT_EQ(Queued(queue), Texts());
    for (int number = 0; number < 1000; ++number) {
        ASSERT_TRUE(HasRoom(queue));
        queue.Append(WithDetail("more").Get());
    }
    EXPECT_EQ(Queued(queue), Texts(1000, "more"));
}

TEST(RecordQueue, HandsBackOutsizedChunksOnly) {
    RecordQueue queue;
    AppendAll(queue, {"1", std::string(kOutsized, 'L'), "2", std::string(2 * kOutsized, 'L')});
    EXPECT_EQ(queue.Clear().size(), 2u);
    EXPECT_FALSE(queue.HasRoomFor(kOutsized));
    EXPECT_TRUE(HasRoom(queue));
    AppendAll(queue, {"3"});
    EXPECT_EQ(Queued(queue), Texts({"3"}));
}

TEST(RecordQueue, HandsItsRecordsOverAndKeepsItsEmptyChunks) {
    RecordQueue queue;
    RecordQueue taken;
    AppendAll(queue, {"1", "2"});
    AddChunk(queue, 1);
    queue.MoveRecordsTo(taken);
    EXPECT_EQ(Queued(queue), Texts());
    EXPECT_EQ(Queued(taken), Texts({"1", "2"}));
    EXPECT_TRUE(HasRoom(queue));
    AppendAll(queue, {"3"});
    EXPECT_EQ(Queued(queue), Texts({"3"}));
    EXPECT_EQ(Queued(taken), Texts({"1", "2"}));
}

TEST(RecordQueue, CountsTheBytesOfItsTexts) {
    OwnedRecord record;
    record.file = "file";
    record.function = "function";
    record.detail = "detail";
    record.context = "context";
    const size_t texts = 4 + 8 + 6 + 7;
    RecordQueue queue;
    EXPECT_EQ(queue.TextBytes(), 0U);
    AppendTo(queue, record);
    AppendTo(queue, record);
    EXPECT_EQ(queue.TextBytes(), 2 * texts);
    RecordQueue taken;
    queue.MoveRecordsTo(taken);
    EXPECT_EQ(queue.TextBytes(), 0U);
    EXPECT_EQ(taken.TextBytes(), 2 * texts);
    AppendTo(queue, record);
    queue.AppendRecordsTo(taken);
    EXPECT_EQ(queue.TextBytes(), 0U);
    EXPECT_EQ(taken.TextBytes(), 3 * texts);
    EXPECT_TRUE(taken.Clear().empty());
    EXPECT_EQ(taken.TextBytes(), 0U);
}

TEST(RecordQueue, TakesTheChunksOfAClearedQueue) {
    RecordQueue queue;
    RecordQueue written;
    AppendAll(written, {"1"});
    AppendAll(queue, {"2"});
    EXPECT_TRUE(written.Clear().empty());
    queue.TakeChunks(written);
    EXPECT_EQ(Queued(queue), Texts({"2"}));
    EXPECT_FALSE(HasRoom(written));
    queue.TakeChunks(written);
    AppendAll(queue, Texts(100, "3"));
    EXPECT_EQ(queue.Count(), 101u);
}

// A record that is logged while a batch is written needs a chunk of its own; when the batch's
// chunks come back, round after round, they must not pile up.
TEST(RecordQueue, NeedsFewChunksHoweverOftenItIsWrittenOut) {
    RecordQueue queue;
    int made = 0;
    for (int round = 0; round < 1000; ++round) {
        RecordQueue taken;
        queue.MoveRecordsTo(taken);
        made += HasRoom(queue) ? 0 : 1;
        AppendAll(queue, {"1"});
        EXPECT_TRUE(taken.Clear().empty());
        queue.TakeChunks(taken);
    }
    EXPECT_LE(made, 2);
}

// One burst of long records must not hold on to its memory for ever.
TEST(RecordQueue, GivesUpTheChunksOfAnUnusuallyLongBatch) {
    const std::string text(60000, 'x');
    RecordQueue queue;
    AppendAll(queue, Texts(1000, text));
    EXPECT_EQ(queue.Clear().size(), 1000U - 256U);

    RecordQueue other;
    AppendAll(other, Texts(100, text));
    EXPECT_TRUE(other.Clear().empty());
    queue.TakeChunks(other);
    EXPECT_TRUE(HasRoom(other));
}

// Appends records, outsized ones among them, adds chunks, clears and exchanges, all at random.
TEST(RecordQueue, AgreesWithPlainListsWhateverIsDone) {
    std::mt19937 random(20240305);
    RecordQueue queues[2];
    std::vector<OwnedRecord> models[2];
    const auto clear = [&](size_t which) {
        EXPECT_LE(queues[which].Clear().size(), models[which].size());
        models[which].clear();
    };
    for (int round = 0; round < 3000; ++round) {
        const size_t which = random() % 2;
        RecordQueue& queue = queues[which];
        switch (random() % 40) {
            case 0:
                clear(which);
                break;
            case 1:
                clear(1 - which);
                queue.MoveRecordsTo(queues[1 - which]);
                std::swap(models[0], models[1]);
                break;
            case 2:
                clear(which);
                queues[1 - which].TakeChunks(queue);
                break;
            case 3:
                AddChunk(queue, 64 + random() % 300000);
                break;
            default:
                models[which].push_back(RandomRecord(random, random() % 20 == 0 ? 60000 : 100));
                AppendTo(queue, models[which].back());
        }
        ASSERT_EQ(queue.Count(), models[which].size());
        if (round % 10 == 0) {
            auto expected = models[which].begin();
            for (const LogRecord& record : queue) {
                ExpectSame(record, (expected++)->Get());
            }
            ASSERT_TRUE(expected == models[which].end());
            ASSERT_FALSE(HasFailure());
        }
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
