// Records as packed bytes.
#include "record/packedrecord.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "record/comparerecords.h"

using NS_TEST::ExpectSame;
using NS_TEST::OwnedRecord;

namespace NS_LOG_SERVICE1 {
namespace {

TEST(PackedRecord, ReadsBackWhatWasPacked) {
    const OwnedRecord record;
    const PackedRecord packed(record.Get());
    ExpectSame(packed.Get(), record.Get());
}

TEST(PackedRecord, LeavesTheLoggersNamesBehind) {
    const PackedRecord packed(OwnedRecord().Get());
    EXPECT_EQ(packed.Get().firstName, "");
    EXPECT_EQ(packed.Get().secondName, "");
}

TEST(PackedRecord, OwnsItsTexts) {
    OwnedRecord record;
    record.detail = "a text that is too long to stand in the string object itself";
    const OwnedRecord original = record;
    const PackedRecord packed(record.Get());
    record.detail.assign(record.detail.size(), 'x');
    record.file.assign(record.file.size(), 'x');
    record.function.assign(record.function.size(), 'x');
    record.context.assign(record.context.size(), 'x');
    ExpectSame(packed.Get(), original.Get());
}

TEST(PackedRecord, KeepsEmptyTexts) {
    OwnedRecord record;
    record.file = record.function = record.detail = record.context = "";
    ExpectSame(PackedRecord(record.Get()).Get(), record.Get());
    ExpectSame(PackedRecord(LogRecord()).Get(), LogRecord());
}

TEST(PackedRecord, KeepsExtremeNumbers) {
    OwnedRecord record;
    record.level = INT32_MIN;
    record.time = ACE_Time_Value(-1, 0);
    record.thread = static_cast<pthread_t>(-1);
    record.line = UINT32_MAX;
    ExpectSame(PackedRecord(record.Get()).Get(), record.Get());
    record.level = INT32_MAX;
    record.time = ACE_Time_Value(253402300799, 999999);
    ExpectSame(PackedRecord(record.Get()).Get(), record.Get());
    for (const int32_t level : {-2, -1, 0, 1, 2, 3}) {
        record.level = level;
        EXPECT_EQ(PackedRecord(record.Get()).Get().level, level);
    }
}

TEST(PackedRecord, KeepsZeroBytesInsideTexts) {
    OwnedRecord record;
    record.file = std::string("a\0b", 3);
    record.function = std::string("\0", 1);
    record.detail = std::string("\0\0x", 3);
    record.context = std::string("x\0", 2);
    ExpectSame(PackedRecord(record.Get()).Get(), record.Get());
}

TEST(PackedRecord, KeepsHugeTexts) {
    OwnedRecord record;
    record.detail.assign(5000000, 'd');
    record.context.assign(300000, 'c');
    record.file.assign(70000, 'f');
    record.function.assign(70000, 'g');
    ExpectSame(PackedRecord(record.Get()).Get(), record.Get());
}

TEST(PackedRecord, CanBeMoved) {
    const OwnedRecord record;
    PackedRecord packed(record.Get());
    PackedRecord other = std::move(packed);
    ExpectSame(other.Get(), record.Get());
    PackedRecord third;
    third = std::move(other);
    ExpectSame(third.Get(), record.Get());
}

TEST(PackedRecord, StandsOneBehindTheOther) {
    std::mt19937 random(7);
    std::vector<OwnedRecord> records;
    size_t total = 0;
    for (int i = 0; i < 200; ++i) {
        records.push_back(NS_TEST::RandomRecord(random, 40));
        const size_t size = PackedSize(records.back().Get());
        EXPECT_EQ(size % __STDCPP_DEFAULT_NEW_ALIGNMENT__ % alignof(ACE_Time_Value), 0u);
        total += size;
    }
    const std::unique_ptr<std::byte[]> bytes(new std::byte[total]);
    size_t offset = 0;
    for (const OwnedRecord& record : records) {
        Pack(record.Get(), bytes.get() + offset);
        offset += PackedSize(record.Get());
    }
    offset = 0;
    for (const OwnedRecord& record : records) {
        ASSERT_EQ(PackedSizeAt(bytes.get() + offset), PackedSize(record.Get()));
        ExpectSame(Unpack(bytes.get() + offset), record.Get());
        offset += PackedSizeAt(bytes.get() + offset);
    }
    EXPECT_EQ(offset, total);
}

TEST(PackedRecord, FillsItsSizeAndNoMore) {
    std::mt19937 random(8);
    for (int i = 0; i < 500; ++i) {
        const OwnedRecord record = NS_TEST::RandomRecord(random, 70);
        const size_t size = PackedSize(record.Get());
        const std::unique_ptr<std::byte[]> bytes(new std::byte[size + 16]);
        std::memset(bytes.get(), 0x5a, size + 16);
        Pack(record.Get(), bytes.get());
        for (size_t behind = size; behind < size + 16; ++behind) {
            ASSERT_EQ(bytes[behind], std::byte{0x5a});
        }
        ExpectSame(Unpack(bytes.get()), record.Get());
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
