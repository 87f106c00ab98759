// The newest records of a bounded number.
#include "record/keptrecords.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "support/records.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

PackedRecord Numbered(int number) {
    return PackedRecord(WithDetail(std::to_string(number)).Get());
}

Texts Kept(const KeptRecords& cache) {
    Texts details;
    cache.ForEach([&details](const LogRecord& record) { details.emplace_back(record.detail); });
    EXPECT_EQ(cache.Count(), details.size());
    return details;
}

TEST(KeptRecords, KeepsTheNewestRecordsAndHandsBackTheOldest) {
    for (size_t capacity = 0; capacity < 20; ++capacity) {
        KeptRecords cache(capacity);
        std::deque<std::string> model;
        for (int number = 0; number < 70; ++number) {
            const PackedRecord evicted = cache.Append(Numbered(number));
            model.push_back(std::to_string(number));
            if (model.size() > capacity) {
                ASSERT_EQ(evicted.Get().detail, model.front());
                model.pop_front();
            }
            ASSERT_EQ(Kept(cache), Texts(model.begin(), model.end()));
        }
    }
}

TEST(KeptRecords, ExchangesItsRecordsAndItsCapacity) {
    KeptRecords cache(2);
    KeptRecords other(5);
    for (int number = 1; number <= 3; ++number) {
        cache.Append(Numbered(number));
    }
    other.Append(Numbered(9));
    cache.Swap(other);
    EXPECT_EQ(Kept(cache), Texts({"9"}));
    EXPECT_EQ(Kept(other), Texts({"2", "3"}));
    other.Append(Numbered(4));
    EXPECT_EQ(Kept(other), Texts({"3", "4"}));
    for (int number = 10; number <= 15; ++number) {
        cache.Append(Numbered(number));
    }
    EXPECT_EQ(Kept(cache), Texts({"11", "12", "13", "14", "15"}));
}

TEST(KeptRecords, DoesNotTakeItsCapacityAtOnce) {
    KeptRecords cache(SIZE_MAX / 16);
    cache.Append(Numbered(1));
    EXPECT_EQ(Kept(cache), Texts({"1"}));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
