// Records together with the texts that they borrow, and where records are kept.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "record/keptrecords.h"
#include "record/logrecord.h"
#include "record/packedrecord.h"
#include "record/recordqueue.h"

namespace NS_TEST {

using Texts = std::vector<std::string>;

struct OwnedRecord {
    NS_LOG_SERVICE1::LogRecord Get() const {
        NS_LOG_SERVICE1::LogRecord record;
        record.level = level;
        record.time = time;
        record.thread = thread;
        record.firstName = "first";
        record.secondName = "second";
        record.file = file;
        record.function = function;
        record.line = line;
        record.detail = detail;
        record.context = context;
        return record;
    }

    // Replaces every byte of the texts. What was kept of the record before does not change.
    void Spoil() {
        for (std::string* const text : {&file, &function, &detail, &context}) {
            text->assign(text->size(), 'x');
        }
    }

    int32_t level = 1;
    ACE_Time_Value time{1709647629, 123456};
    pthread_t thread = 4242;
    std::string file = "ne.cpp";
    std::string function = "GetNe";
    uint32_t line = 77;
    std::string detail = "text";
    std::string context = "U,TopT:12,If:getNE,UserMsg:opr1";
};

inline OwnedRecord WithDetail(const std::string& detail, int32_t level = 1) {
    OwnedRecord record;
    record.level = level;
    record.detail = detail;
    return record;
}

// Texts of up to `longest` bytes each, any byte among them.
inline OwnedRecord RandomRecord(std::mt19937& random, size_t longest) {
    OwnedRecord record;
    for (std::string* const text :
         {&record.file, &record.function, &record.detail, &record.context}) {
        text->assign(random() % (longest + 1), '\0');
        for (char& c : *text) {
            c = static_cast<char>(random() & 0xff);
        }
    }
    record.level = static_cast<int32_t>(random());
    record.time =
        ACE_Time_Value(static_cast<time_t>(random()), static_cast<int>(random() % 1000000));
    record.thread = static_cast<pthread_t>(random()) << 20;
    record.line = static_cast<uint32_t>(random());
    return record;
}

// Everything that a file shows of a record is the same in both.
inline void ExpectSame(const NS_LOG_SERVICE1::LogRecord& kept,
                       const NS_LOG_SERVICE1::LogRecord& original) {
    EXPECT_EQ(kept.level, original.level);
    EXPECT_EQ(kept.time, original.time);
    EXPECT_EQ(kept.thread, original.thread);
    EXPECT_EQ(kept.file, original.file);
    EXPECT_EQ(kept.function, original.function);
    EXPECT_EQ(kept.line, original.line);
    EXPECT_EQ(kept.detail, original.detail);
    EXPECT_EQ(kept.context, original.context);
}

// Appends a copy of the record, and a chunk for it where there is no room.
inline void AppendTo(NS_LOG_SERVICE1::RecordQueue& queue, const OwnedRecord& record) {
    const size_t size = NS_LOG_SERVICE1::PackedSize(record.Get());
    if (!queue.HasRoomFor(size)) {
        NS_LOG_SERVICE1::RecordQueue::Chunks chunk = NS_LOG_SERVICE1::RecordQueue::MakeChunk(size);
        queue.AddChunk(chunk);
        EXPECT_TRUE(chunk.empty());
        ASSERT_TRUE(queue.HasRoomFor(size));
    }
    queue.Append(record.Get());
}

// A cache with just enough room for these records.
inline NS_LOG_SERVICE1::KeptRecords CacheOf(std::initializer_list<OwnedRecord> records) {
    NS_LOG_SERVICE1::KeptRecords cache(records.size());
    for (const OwnedRecord& record : records) {
        cache.Append(NS_LOG_SERVICE1::PackedRecord(record.Get()));
    }
    return cache;
}

}  // namespace NS_TEST
