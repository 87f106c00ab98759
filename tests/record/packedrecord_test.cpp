// Records as packed bytes.
#include "record/packedrecord.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "support/records.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

TEST(PackedRecord, OwnsWhatItReadsBackButLeavesTheLoggersNamesBehind) {
    OwnedRecord record = WithDetail("a text that is too long to stand in the string object itself");
    const OwnedRecord original = record;
    const PackedRecord packed(record.Get());
    record.Spoil();
    ExpectSame(packed.Get(), original.Get());
    EXPECT_EQ(packed.Get().firstName, "");
    EXPECT_EQ(packed.Get().secondName, "");
}

TEST(PackedRecord, KeepsTextsOfAnyLengthAndAnyByte) {
    ExpectSame(PackedRecord(LogRecord()).Get(), LogRecord());
    OwnedRecord empty;
    empty.file = empty.function = empty.detail = empty.context = "";
    OwnedRecord zeros;
    zeros.file = std::string("a\0b", 3);
    zeros.function = std::string("\0", 1);
    zeros.detail = std::string("\0\0x", 3);
    zeros.context = std::string("x\0", 2);
    OwnedRecord huge;
    huge.detail.assign(5000000, 'd');
    huge.context.assign(300000, 'c');
    huge.file.assign(70000, 'f');
    huge.function.assign(70000, 'g');
    for (const OwnedRecord& record : {empty, zeros, huge}) {
        ExpectSame(PackedRecord(record.Get()).Get(), record.Get());
    }
}

TEST(PackedRecord, KeepsExtremeNumbers) {
    OwnedRecord record;
    record.thread = static_cast<pthread_t>(-1);
    record.line = UINT32_MAX;
    for (const int32_t level : {INT32_MIN, -2, -1, 0, 3, INT32_MAX}) {
        record.level = level;
        for (const auto& time : {ACE_Time_Value(-1, 0), ACE_Time_Value(253402300799, 999999)}) {
            record.time = time;
            ExpectSame(PackedRecord(record.Get()).Get(), record.Get());
        }
    }
}

TEST(PackedRecord, StandsOneBehindTheOtherAndFillsNoMoreThanItsSize) {
    std::mt19937 random(7);
    std::vector<OwnedRecord> records;
    size_t total = 0;
    for (int i = 0; i < 500; ++i) {
        records.push_back(RandomRecord(random, 70));
        total += PackedSize(records.back().Get());
    }
    constexpr size_t kBehind = 16;
    const std::unique_ptr<std::byte[]> bytes(new std::byte[total + kBehind]);
    std::memset(bytes.get(), 0x5a, total + kBehind);
    std::byte* at = bytes.get();
    for (const OwnedRecord& record : records) {
        const size_t size = PackedSize(record.Get());
        EXPECT_EQ(size % alignof(ACE_Time_Value), 0u);
        Pack(record.Get(), at);
        at += size;
        for (size_t behind = 0; behind < kBehind; ++behind) {
            ASSERT_EQ(at[behind], std::byte{0x5a});
        }
    }
    at = bytes.get();
    for (const OwnedRecord& record : records) {
        ASSERT_EQ(PackedSizeAt(at), PackedSize(record.Get()));
        ExpectSame(Unpack(at), record.Get());
        at += PackedSizeAt(at);
    }
}

TEST(PackedRecord, KeepsABlockForRecordsThatNeedAQuarterOfItAndGivesUpOthers) {
    PackedRecord packed(WithDetail(std::string(4000, 'l')).Get());
    const size_t large = packed.Capacity();
    EXPECT_GE(large, 4000u);
    packed.Set(WithDetail(std::string(large / 4, 'm')).Get());
    EXPECT_EQ(packed.Capacity(), large);
    packed.Set(WithDetail("short").Get());
    EXPECT_LT(packed.Capacity(), large / 4);
    ExpectSame(packed.Get(), WithDetail("short").Get());
}

TEST(PackedRecord, CanBeUsedAgainOnceItWasMoved) {
    PackedRecord first(WithDetail("first").Get());
    PackedRecord second(std::move(first));
    EXPECT_EQ(first.Capacity(), 0u);
    first.Set(WithDetail("again").Get());
    ExpectSame(first.Get(), WithDetail("again").Get());
    ExpectSame(second.Get(), WithDetail("first").Get());
    first = std::move(second);
    EXPECT_EQ(second.Capacity(), 0u);
    second.Set(WithDetail("third").Get());
    ExpectSame(first.Get(), WithDetail("first").Get());
    ExpectSame(second.Get(), WithDetail("third").Get());
}

TEST(PackedRecord, FreesABlockThatIsLargerThanItMayBe) {
    PackedRecord packed(WithDetail("short").Get());
    const size_t capacity = packed.Capacity();
    packed.FreeIfLarger(capacity);
    EXPECT_EQ(packed.Capacity(), capacity);
    packed.FreeIfLarger(capacity - 1);
    EXPECT_EQ(packed.Capacity(), 0u);
    packed.Set(WithDetail("again").Get());
    ExpectSame(packed.Get(), WithDetail("again").Get());
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
