// The newest records of a bounded number.
#include "record/keptrecords.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "record/comparerecords.h"

using NS_TEST::OwnedRecord;

namespace NS_LOG_SERVICE1 {
namespace {

PackedRecord Numbered(int number) {
    OwnedRecord record;
    record.detail = std::to_string(number);
    return PackedRecord(record.Get());
}

std::vector<std::string> Details(const KeptRecords& cache) {
    std::vector<std::string> details;
    cache.ForEach([&details](const LogRecord& record) { details.emplace_back(record.detail); });
    return details;
}

using Texts = std::vector<std::string>;

TEST(KeptRecords, StartsEmpty) {
    const KeptRecords cache(3);
    EXPECT_EQ(cache.Count(), 0u);
    EXPECT_EQ(Details(cache), Texts());
}

TEST(KeptRecords, KeepsTheNewestRecordsOldestFirst) {
    KeptRecords cache(3);
    for (int number = 1; number <= 3; ++number) {
        cache.Append(Numbered(number));
    }
    EXPECT_EQ(Details(cache), Texts({"1", "2", "3"}));
    EXPECT_EQ(cache.Append(Numbered(4)).Get().detail, "1");
    EXPECT_EQ(Details(cache), Texts({"2", "3", "4"}));
    EXPECT_EQ(cache.Append(Numbered(5)).Get().detail, "2");
    EXPECT_EQ(cache.Append(Numbered(6)).Get().detail, "3");
    EXPECT_EQ(cache.Append(Numbered(7)).Get().detail, "4");
    EXPECT_EQ(Details(cache), Texts({"5", "6", "7"}));
    EXPECT_EQ(cache.Count(), 3u);
}

TEST(KeptRecords, EvictsEverythingWhenItHoldsNothing) {
    KeptRecords cache(0);
    EXPECT_EQ(cache.Append(Numbered(1)).Get().detail, "1");
    EXPECT_EQ(cache.Append(Numbered(2)).Get().detail, "2");
    EXPECT_EQ(cache.Count(), 0u);
    EXPECT_EQ(Details(cache), Texts());
}

TEST(KeptRecords, HoldsOneRecord) {
    KeptRecords cache(1);
    cache.Append(Numbered(1));
    EXPECT_EQ(cache.Append(Numbered(2)).Get().detail, "1");
    EXPECT_EQ(Details(cache), Texts({"2"}));
}

TEST(KeptRecords, ExchangesItsRecordsAndItsCapacity) {
    KeptRecords cache(2);
    KeptRecords other(5);
    for (int number = 1; number <= 3; ++number) {
        cache.Append(Numbered(number));
    }
    other.Append(Numbered(9));
    cache.Swap(other);
    EXPECT_EQ(Details(cache), Texts({"9"}));
    EXPECT_EQ(Details(other), Texts({"2", "3"}));
    other.Append(Numbered(4));
    EXPECT_EQ(Details(other), Texts({"3", "4"}));
    for (int number = 10; number <= 15; ++number) {
        cache.Append(Numbered(number));
    }
    EXPECT_EQ(Details(cache), Texts({"11", "12", "13", "14", "15"}));
}

TEST(KeptRecords, DoesNotTakeItsCapacityAtOnce) {
    KeptRecords cache(SIZE_MAX / 16);
    cache.Append(Numbered(1));
    EXPECT_EQ(Details(cache), Texts({"1"}));
}

TEST(KeptRecords, AgreesWithAPlainListOfAnyCapacity) {
    for (size_t capacity = 0; capacity < 20; ++capacity) {
        KeptRecords cache(capacity);
        std::deque<std::string> model;
        for (int number = 0; number < 70; ++number) {
            cache.Append(Numbered(number));
            model.push_back(std::to_string(number));
            if (model.size() > capacity) {
                model.pop_front();
            }
            ASSERT_EQ(Details(cache), Texts(model.begin(), model.end()));
            ASSERT_EQ(cache.Count(), model.size());
        }
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
