// Comparing records with what was kept of them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

#include "record/logrecord.h"

namespace NS_TEST {

// A record together with the texts that it borrows.
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

    int32_t level = 1;
    ACE_Time_Value time{1709647629, 123456};
    pthread_t thread = 4242;
    std::string file = "ne.cpp";
    std::string function = "GetNe";
    uint32_t line = 77;
    std::string detail = "text";
    std::string context = "U,TopT:12,If:getNE,UserMsg:opr1";
};

// Texts of up to `longest` bytes each, any byte among them.
inline OwnedRecord RandomRecord(std::mt19937& random, size_t longest) {
    const auto text = [&random, longest] {
        std::string result(random() % (longest + 1), '\0');
        for (char& c : result) {
            c = static_cast<char>(random() & 0xff);
        }
        return result;
    };
    OwnedRecord record;
    record.level = static_cast<int32_t>(random());
    record.time =
        ACE_Time_Value(static_cast<time_t>(random()), static_cast<int>(random() % 1000000));
    record.thread = static_cast<pthread_t>(random()) << 20;
    record.file = text();
    record.function = text();
    record.line = static_cast<uint32_t>(random());
    record.detail = text();
    record.context = text();
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

}  // namespace NS_TEST
