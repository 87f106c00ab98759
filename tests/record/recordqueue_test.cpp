// Records in the order of their arrival.
#include "record/recordqueue.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "record/comparerecords.h"
#include "record/packedrecord.h"

using NS_TEST::OwnedRecord;

namespace NS_LOG_SERVICE1 {
namespace {

// Appends as the queue's owner does: makes a chunk where there is no room.
void Append(RecordQueue& queue, const OwnedRecord& record) {
    const size_t size = PackedSize(record.Get());
    if (!queue.HasRoomFor(size)) {
        RecordQueue::Chunks chunk = RecordQueue::MakeChunk(size);
        queue.AddChunk(chunk);
        EXPECT_TRUE(chunk.empty());
        ASSERT_TRUE(queue.HasRoomFor(size));
    }
    queue.Append(record.Get());
}

OwnedRecord WithDetail(const std::string& detail) {
    OwnedRecord record;
    record.detail = detail;
    return record;
}

std::vector<std::string> Details(const RecordQueue& queue) {
    std::vector<std::string> details;
    for (const LogRecord& record : queue) {
        details.emplace_back(record.detail);
    }
    return details;
}

using Texts = std::vector<std::string>;

constexpr size_t kOutsized = 1 << 20;

TEST(RecordQueue, StartsEmptyAndWithoutRoom) {
    const RecordQueue queue;
    EXPECT_EQ(queue.Count(), 0u);
    EXPECT_EQ(queue.Count(), 0u);
    EXPECT_TRUE(queue.begin() == queue.end());
    EXPECT_FALSE(queue.HasRoomFor(PackedSize(OwnedRecord().Get())));
}

TEST(RecordQueue, KeepsTheOrderOfArrival) {
    RecordQueue queue;
    Texts expected;
    for (int number = 0; number < 5000; ++number) {
        expected.push_back(std::to_string(number));
        Append(queue, WithDetail(expected.back()));
    }
    EXPECT_EQ(queue.Count(), 5000u);
    EXPECT_NE(queue.Count(), 0u);
    EXPECT_EQ(Details(queue), expected);
}

TEST(RecordQueue, OwnsItsTexts) {
    RecordQueue queue;
    OwnedRecord record = WithDetail("a text that is too long to stand in the string object");
    Append(queue, record);
    const OwnedRecord original = record;
    record.detail.assign(record.detail.size(), 'x');
    record.context.assign(record.context.size(), 'x');
    NS_TEST::ExpectSame(*queue.begin(), original.Get());
}

TEST(RecordQueue, HasRoomForManyRecordsInAChunk) {
    RecordQueue queue;
    const OwnedRecord record;
    RecordQueue::Chunks chunk = RecordQueue::MakeChunk(PackedSize(record.Get()));
    queue.AddChunk(chunk);
    int appended = 0;
    while (queue.HasRoomFor(PackedSize(record.Get())) && appended < 100) {
        queue.Append(record.Get());
        ++appended;
    }
    EXPECT_EQ(appended, 100);
}

TEST(RecordQueue, TakesAChunkAlthoughThereIsRoom) {
    RecordQueue queue;
    Append(queue, WithDetail("1"));
    for (const char* const detail : {"2", "3", "4"}) {
        RecordQueue::Chunks chunk = RecordQueue::MakeChunk(kOutsized);
        queue.AddChunk(chunk);
        EXPECT_TRUE(queue.HasRoomFor(kOutsized));
        Append(queue, WithDetail(detail));
    }
    EXPECT_EQ(Details(queue), Texts({"1", "2", "3", "4"}));
    EXPECT_EQ(queue.Count(), 4u);
}

TEST(RecordQueue, KeepsAnOutsizedRecordInItsPlace) {
    RecordQueue queue;
    const std::string large(kOutsized, 'L');
    Append(queue, WithDetail("1"));
    Append(queue, WithDetail(large));
    Append(queue, WithDetail("2"));
    Append(queue, WithDetail(large));
    Append(queue, WithDetail(large));
    Append(queue, WithDetail("3"));
    EXPECT_EQ(Details(queue), Texts({"1", large, "2", large, large, "3"}));
}

TEST(RecordQueue, TakesAnOutsizedRecordFirst) {
    RecordQueue queue;
    const std::string large(kOutsized, 'L');
    Append(queue, WithDetail(large));
    Append(queue, WithDetail("1"));
    EXPECT_EQ(Details(queue), Texts({large, "1"}));
}

TEST(RecordQueue, NeedsNoChunkAfterItWasCleared) {
    RecordQueue queue;
    for (int number = 0; number < 1000; ++number) {
        Append(queue, WithDetail("text"));
    }
    EXPECT_TRUE(queue.Clear().empty());
    EXPECT_EQ(queue.Count(), 0u);
    EXPECT_EQ(queue.Count(), 0u);
    EXPECT_TRUE(queue.begin() == queue.end());
    const OwnedRecord record = WithDetail("more");
    for (int number = 0; number < 1000; ++number) {
        ASSERT_TRUE(queue.HasRoomFor(PackedSize(record.Get())));
        queue.Append(record.Get());
    }
    EXPECT_EQ(Details(queue), Texts(1000, "more"));
}

TEST(RecordQueue, HandsBackOutsizedChunksOnly) {
    RecordQueue queue;
    Append(queue, WithDetail("1"));
    Append(queue, WithDetail(std::string(kOutsized, 'L')));
    Append(queue, WithDetail("2"));
    Append(queue, WithDetail(std::string(2 * kOutsized, 'L')));
    EXPECT_EQ(queue.Clear().size(), 2u);
    EXPECT_FALSE(queue.HasRoomFor(kOutsized));
    EXPECT_TRUE(queue.HasRoomFor(PackedSize(OwnedRecord().Get())));
    Append(queue, WithDetail("3"));
    EXPECT_EQ(Details(queue), Texts({"3"}));
}

TEST(RecordQueue, CanBeClearedWhenEmpty) {
    RecordQueue queue;
    EXPECT_TRUE(queue.Clear().empty());
    EXPECT_TRUE(queue.Clear().empty());
    Append(queue, WithDetail("1"));
    EXPECT_EQ(Details(queue), Texts({"1"}));
}

TEST(RecordQueue, HandsItsRecordsOverAndKeepsItsEmptyChunks) {
    RecordQueue queue;
    RecordQueue taken;
    Append(queue, WithDetail("1"));
    Append(queue, WithDetail("2"));
    RecordQueue::Chunks chunk = RecordQueue::MakeChunk(1);
    queue.AddChunk(chunk);
    queue.MoveRecordsTo(taken);
    EXPECT_EQ(queue.Count(), 0u);
    EXPECT_EQ(Details(queue), Texts());
    EXPECT_EQ(Details(taken), Texts({"1", "2"}));
    EXPECT_TRUE(queue.HasRoomFor(PackedSize(OwnedRecord().Get())));
    Append(queue, WithDetail("3"));
    EXPECT_EQ(Details(queue), Texts({"3"}));
    EXPECT_EQ(Details(taken), Texts({"1", "2"}));
}

// A record that is logged while a batch is written needs a chunk of its own; when the batch's
// chunks come back, round after round, they must not pile up.
TEST(RecordQueue, NeedsFewChunksHoweverOftenItIsWrittenOut) {
    RecordQueue queue;
    int made = 0;
    for (int round = 0; round < 1000; ++round) {
        RecordQueue taken;
        queue.MoveRecordsTo(taken);
        if (!queue.HasRoomFor(PackedSize(WithDetail("1").Get()))) {
            RecordQueue::Chunks chunk = RecordQueue::MakeChunk(1);
            queue.AddChunk(chunk);
            ++made;
        }
        queue.Append(WithDetail("1").Get());
        EXPECT_TRUE(taken.Clear().empty());
        queue.TakeChunks(taken);
    }
    EXPECT_LE(made, 2);
}

// One burst of long records must not hold on to its memory for ever.
TEST(RecordQueue, GivesUpTheChunksOfAnUnusuallyLongBatch) {
    RecordQueue queue;
    const OwnedRecord record = WithDetail(std::string(60000, 'x'));
    for (int number = 0; number < 1000; ++number) {
        Append(queue, record);
    }
    EXPECT_EQ(queue.Clear().size(), 1000U - 256U);

    RecordQueue other;
    for (int number = 0; number < 100; ++number) {
        Append(other, record);
    }
    EXPECT_TRUE(other.Clear().empty());
    queue.TakeChunks(other);
    EXPECT_TRUE(other.HasRoomFor(PackedSize(record.Get())));
}

TEST(RecordQueue, TakesTheChunksOfAClearedQueue) {
    RecordQueue queue;
    RecordQueue written;
    Append(written, WithDetail("1"));
    Append(queue, WithDetail("2"));
    EXPECT_TRUE(written.Clear().empty());
    queue.TakeChunks(written);
    EXPECT_EQ(Details(queue), Texts({"2"}));
    EXPECT_FALSE(written.HasRoomFor(PackedSize(OwnedRecord().Get())));
    for (int number = 0; number < 100; ++number) {
        Append(queue, WithDetail("3"));
    }
    EXPECT_EQ(queue.Count(), 101u);
    RecordQueue fresh;
    fresh.TakeChunks(written);
    EXPECT_EQ(fresh.Count(), 0u);
}

// Appends, clears and exchanges at random, and compares with plain lists.
TEST(RecordQueue, AgreesWithPlainListsWhateverIsDone) {
    std::mt19937 random(20240305);
    RecordQueue queues[2];
    std::vector<OwnedRecord> models[2];
    for (int round = 0; round < 3000; ++round) {
        const size_t which = random() % 2;
        switch (random() % 40) {
            case 0:
                EXPECT_LE(queues[which].Clear().size(), models[which].size());
                models[which].clear();
                break;
            case 1:
                EXPECT_LE(queues[1 - which].Clear().size(), models[1 - which].size());
                models[1 - which].clear();
                queues[which].MoveRecordsTo(queues[1 - which]);
                std::swap(models[0], models[1]);
                break;
            case 2:
                EXPECT_LE(queues[which].Clear().size(), models[which].size());
                models[which].clear();
                queues[1 - which].TakeChunks(queues[which]);
                break;
            case 3: {
                RecordQueue::Chunks chunk = RecordQueue::MakeChunk(64 + random() % 300000);
                queues[which].AddChunk(chunk);
                break;
            }
            default:
                models[which].push_back(
                    NS_TEST::RandomRecord(random, random() % 20 == 0 ? 20000 : 100));
                Append(queues[which], models[which].back());
        }
        ASSERT_EQ(queues[which].Count(), models[which].size());
        if (round % 10 == 0) {
            auto expected = models[which].begin();
            for (const LogRecord& record : queues[which]) {
                NS_TEST::ExpectSame(record, (expected++)->Get());
            }
            ASSERT_TRUE(expected == models[which].end());
            ASSERT_FALSE(HasFailure());
        }
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
