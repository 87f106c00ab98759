// What the service writes, the reader reads back: nothing lost, nothing invented, every field
// equal.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "channel/logfile.h"
#include "format/recordparser.h"
#include "input/piecescanner.h"
#include "input/plainfile.h"
#include "input/series.h"
#include "record/packedrecord.h"
#include "support/temporarydirectory.h"

namespace {

using NS_LOG_READER::DumpedRecords;
using NS_LOG_READER::ParseRecord;
using NS_LOG_READER::Piece;
using NS_LOG_READER::PieceKind;
using NS_LOG_READER::Record;
using NS_LOG_READER::RecordKind;
using NS_LOG_SERVICE1::LogRecord;
using NS_LOG_SERVICE1::PackedRecord;

// A record as it is logged, and as it is expected back.
struct Logged {
    int level = 0;
    int64_t time = 0;
    uint64_t thread = 0;
    uint32_t line = 0;
    uint32_t number = 0;
    RecordKind kind = RecordKind::Record;
    std::string operation, interface, user, file, function, detail;

    LogRecord Get() {
        context = operation + ",TopT:3,If:" + interface + ",UserMsg:" + user;
        LogRecord record;
        record.level = level;
        record.time = ACE_Time_Value(static_cast<time_t>(time / 1000000),
                                     static_cast<suseconds_t>(time % 1000000));
        record.thread = thread;
        record.line = line;
        record.file = file;
        record.function = function;
        record.detail = detail;
        record.context = context;
        return record;
    }

    std::string context;
};

// Makes texts of everything that a reader could stumble over. Leaves out what no reader can tell
// apart: the end of the own frame with a piece's beginning right behind it, and a whole header.
class RandomRecords {
  public:
    explicit RandomRecords(unsigned seed) : random_(seed) {}

    unsigned Below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    Logged Make(uint32_t number, RecordKind kind, int level) {
        Logged logged;
        logged.kind = kind;
        logged.level = level;
        logged.number = number;
        logged.time = 1772716029000000 + Below(2000000000);
        logged.thread = random_() - (Below(2) == 0 ? 0ULL : 1ULL << 40);
        logged.line = static_cast<uint32_t>(random_());
        logged.operation = Pick({"", "00000001-0000-4000-8000-0000000000c7", "a, b", "If:,"});
        logged.interface = Pick({"", "getNE", "a,b", "TopT:4", "\xff"});
        logged.user = Pick({"", "opr1", "a, T:1, DL:0, File: b Func:c Line:3", "Line:8",
                            "two\nlines", ",If:x", "UserMsg:y,UserMsg:"});
        logged.file = Pick({"", "ne.cpp", "../a b/ne.cpp", "x, y.cpp"});
        logged.function = Pick({"", "Query", "operator ()", "Line:5", "a\tb"});
        logged.detail = kind == RecordKind::Short ? ShortText() : Text(number);
        return logged;
    }

  private:
    std::string Pick(const std::vector<std::string>& texts) {
        return texts[Below(static_cast<unsigned>(texts.size()))];
    }

    std::string Text(uint32_t number) {
        const std::string own = "\n</" + std::to_string(number) + ">\n\nx";
        std::string text;
        for (unsigned parts = Below(6); parts > 0; --parts) {
            text += Below(60) == 0
                        ? std::string(Below(400000), 'y')
                        : Pick({"word", "\n", "\n\n", "<5>\n", "</0>\n\n", own, "\nFile close at ",
                                "2026-03-05T14:07:09.000123+01:00, ", " Detail : ", "\n Detail: ",
                                "\nFile create at 2026-03-05T14:07:09.000123+01:00.\n",
                                "*********** Dump filtered debug information begin **********\nx",
                                "*********** Dump filtered debug information end **********\n",
                                "<a>&\"\\", "\xc3\xbc\xff\x01", "\r\n", " "});
        }
        return text;
    }

    // A line of it that begins as a piece does would be one.
    std::string ShortText() {
        std::string text;
        for (unsigned parts = Below(5); parts > 0; --parts) {
            text += Pick({" word", "x\n", "\n\n", "x</5>\n\n",
                          " 2026-03-05T14:07:09.000123+01:00, ", ",", "<5>x"});
        }
        return text;
    }

    std::mt19937_64 random_;
};

class RoundTrip : public NS_TEST::DirectoryTest {
  protected:
    void WriteAndExpect(unsigned seed) {
        RandomRecords random(seed);
        NS_LOG_SERVICE1::LogFile file(Path().c_str(), "unbi_debug_", 1 << 30, 5);
        for (uint32_t number = 1; number < 120; ++number) {
            switch (random.Below(4)) {
                case 0:
                    WriteOne(file, random.Make(number, RecordKind::Short, -2));
                    break;
                case 1:
                    WriteDump(file, random, number);
                    break;
                default:
                    WriteOne(file, random.Make(number, RecordKind::Record,
                                               static_cast<int>(random.Below(5)) - 1));
                    break;
            }
        }
    }

    void ReadBack() {
        std::vector<std::string> problems;
        const auto series = NS_LOG_READER::FindSeries({Path()}, problems);
        ASSERT_EQ(series.size(), 1U);
        NS_LOG_READER::PlainFile file(series[0].files[0].name.path);
        NS_LOG_READER::PieceScanner scanner(file);
        Piece piece;
        Record record;
        while (scanner.Next(piece)) {
            ASSERT_NE(piece.kind, PieceKind::Torn);
            ASSERT_NE(piece.kind, PieceKind::Garbage);
            if (ParseRecord(piece, record)) {
                Compare(record);
                DumpedRecords dumped(piece, record);
                while (dumped.Next(record)) {
                    Compare(record);
                }
            }
        }
        ASSERT_EQ(next_, expected_.size());
    }

  private:
    void WriteOne(NS_LOG_SERVICE1::LogFile& file, Logged logged) {
        if (logged.level == 0) {
            logged.level = 1;
        }
        file.WriteRecord(logged.Get());
        expected_.push_back(std::move(logged));
    }

    void WriteDump(NS_LOG_SERVICE1::LogFile& file, RandomRecords& random, uint32_t number) {
        Logged trigger = random.Make(number, RecordKind::Dump, 0);
        NS_LOG_SERVICE1::KeptRecords cache(100);
        expected_.push_back(trigger);
        for (unsigned count = random.Below(6); count > 0; --count) {
            Logged logged =
                random.Make(number, RecordKind::Dumped, static_cast<int>(random.Below(4)));
            cache.Append(PackedRecord(logged.Get()));
            expected_.push_back(std::move(logged));
        }
        file.WriteRecordWithDump(trigger.Get(), cache);
    }

    void Compare(const Record& found) {
        ASSERT_LT(next_, expected_.size());
        const Logged& logged = expected_[next_++];
        ASSERT_EQ(found.kind, logged.kind);
        ASSERT_EQ(found.detail, logged.detail);
        ASSERT_EQ(found.time, logged.time);
        ASSERT_EQ(found.level, logged.level);
        if (found.kind == RecordKind::Short) {
            return;
        }
        ASSERT_EQ(found.number, logged.number);
        ASSERT_EQ(found.thread, static_cast<int64_t>(logged.thread));
        ASSERT_EQ(found.line, logged.line);
        ASSERT_EQ(found.operationThread, 3);
        ASSERT_EQ(found.operation, logged.operation);
        ASSERT_EQ(found.interface, logged.interface);
        ASSERT_EQ(found.user, logged.user);
        ASSERT_EQ(found.file, logged.file);
        ASSERT_EQ(found.function, logged.function);
    }

    std::vector<Logged> expected_;
    size_t next_ = 0;
};

class RoundTripOfRandomRecords : public RoundTrip, public testing::WithParamInterface<unsigned> {};

TEST_P(RoundTripOfRandomRecords, LosesAndInventsNothing) {
    WriteAndExpect(GetParam());
    if (!HasFatalFailure()) {
        ReadBack();
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RoundTripOfRandomRecords, testing::Range(1U, 9U));

}  // namespace
