// A batch is written as its records would be one by one, whatever goes wrong on the way.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "channel/channelfixture.h"
#include "channel/filesizelimit.h"
#include "channel/logfile.h"

using NS_TEST::AppendTo;
using NS_TEST::OwnedRecord;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

// What a log file has done.
struct Outcome {
    std::vector<std::string> contents;  // of all files, in the order of their creation
    std::vector<uint64_t> counts;
    bool open = false;
};

// Creation times depend on how often the clock was read; where one file ends and the next begins,
// and everything else, does not.
std::string WithoutTimes(std::string text) {
    for (const std::string mark : {"File create at ", "File close at "}) {
        for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
            text.replace(at + mark.size(), 32, "TIME");
        }
    }
    return text;
}

class BatchEquality : public NS_TEST::ChannelTest {
  protected:
    using Records = std::vector<OwnedRecord>;

    // What becomes of the records in a fresh directory. `disturb` is called once the file object
    // is there; what it returns is kept until the records are written.
    template <class Writer, class Disturbance>
    Outcome Write(uint64_t limit, const Disturbance& disturb, const Writer& write) {
        const std::string directory = Path("run" + std::to_string(++runs_));
        Calls().Reset();
        Calls().SetClock(kNow, 654321, 1);
        Outcome outcome;
        {
            LogFile file(directory.c_str(), "unbi_debug_", limit, 5);
            {
                [[maybe_unused]] const auto disturbance = disturb();
                write(file);
            }
            Calls().ScriptOpens(nullptr);
            outcome.open = file.IsOpen();
            const LogFileStatistics& statistics = file.Statistics();
            outcome.counts = {statistics.recordsWritten.Get(), statistics.recordsDropped.Get(),
                              statistics.bytesWritten.Get(),   statistics.rotations.Get(),
                              statistics.lastError.Get(),      statistics.recordsDumped.Get()};
            file.WriteRecord(WithDetail(1, "the number after all").Get());
        }
        for (const std::string& text : Contents(directory)) {
            EXPECT_NO_THROW(NS_TEST::ParseLogText(text));
            outcome.contents.push_back(WithoutTimes(text));
        }
        return outcome;
    }

    template <class Disturbance>
    void ExpectEquality(const Records& records, uint64_t limit, const Disturbance& disturb) {
        const Outcome single = Write(limit, disturb, [&records](LogFile& file) {
            for (const OwnedRecord& record : records) {
                file.WriteRecord(record.Get());
            }
        });
        RecordQueue queue;
        for (const OwnedRecord& record : records) {
            AppendTo(queue, record);
        }
        const Outcome batch =
            Write(limit, disturb, [&queue](LogFile& file) { file.WriteRecords(queue); });
        ASSERT_EQ(batch.contents, single.contents);
        ASSERT_EQ(batch.counts, single.counts);
        ASSERT_EQ(batch.open, single.open);
    }

    static Records RandomRecords(std::mt19937& random) {
        Records records;
        const size_t count = random() % 60;
        const size_t longest = random() % 3 == 0 ? 3000 : 150;
        for (size_t i = 0; i < count; ++i) {
            records.push_back(WithDetail(static_cast<int>(random() % 6) - 2,
                                         std::string(random() % longest, 'x')));
            records.back().time =
                ACE_Time_Value(1709647000 + static_cast<time_t>(random() % 99), 5);
        }
        return records;
    }

    static int Nothing() { return 0; }

  private:
    int runs_ = 0;
};

TEST_F(BatchEquality, HoldsForAnEmptyBatch) {
    ExpectEquality({}, 1000, &Nothing);
}

TEST_F(BatchEquality, HoldsForAnySizesAndLimits) {
    std::mt19937 random(1);
    for (int round = 0; round < 40; ++round) {
        const uint64_t limit = random() % 4 == 0 ? random() % 100 : random() % 6000;
        ExpectEquality(RandomRecords(random), limit, &Nothing);
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

TEST_F(BatchEquality, HoldsWhereARecordReachesTheLimitExactly) {
    for (uint64_t records = 1; records <= 4; ++records) {
        const uint64_t exact = 49 + records * NS_TEST::Frame(1, 1, "text").size();
        for (const uint64_t limit : {exact - 1, exact, exact + 1}) {
            ExpectEquality(Records(9, WithDetail(1, "text")), limit, &Nothing);
        }
    }
}

TEST_F(BatchEquality, HoldsWhereFilesCannotGrow) {
    std::mt19937 random(2);
    for (int round = 0; round < 50; ++round) {
        const size_t largest = random() % 3 == 0 ? random() % 300 : random() % 5000;
        const uint64_t limit = random() % 2 == 0 ? 1000000 : random() % 6000;
        ExpectEquality(RandomRecords(random), limit,
                       [largest] { return NS_TEST::FileSizeLimit(largest); });
        ASSERT_FALSE(HasFailure())
            << "round " << round << ", files of " << largest << ", limit " << limit;
    }
}

TEST_F(BatchEquality, HoldsWhereFilesCannotBeOpened) {
    std::mt19937 random(3);
    for (int round = 0; round < 40; ++round) {
        const uint64_t first = 1 + random() % 6;
        const uint64_t last = first + random() % 6;
        ExpectEquality(RandomRecords(random), random() % 1500, [this, first, last] {
            Calls().ScriptOpens([first, last](uint64_t number) {
                return number >= first && number <= last ? EMFILE : 0;
            });
            return 0;
        });
        ASSERT_FALSE(HasFailure()) << "round " << round << ", opens " << first << " to " << last;
    }
}

TEST_F(BatchEquality, HoldsWhereFilesCannotGrowAndSomeCannotBeOpened) {
    std::mt19937 random(4);
    for (int round = 0; round < 40; ++round) {
        const size_t largest = random() % 4000;
        const uint64_t every = 2 + random() % 3;
        ExpectEquality(RandomRecords(random), random() % 4000, [this, largest, every] {
            Calls().ScriptOpens(
                [every](uint64_t number) { return number % every == 0 ? EACCES : 0; });
            return NS_TEST::FileSizeLimit(largest);
        });
        ASSERT_FALSE(HasFailure()) << "round " << round << ", files of " << largest;
    }
}

TEST_F(BatchEquality, HoldsWhereEveryDescriptorFails) {
    ExpectEquality(Records(20, WithDetail(1, "text")), 1000,
                   [] { return NS_TEST::FileSizeLimit(0); });
    ExpectEquality(Records(20, WithDetail(1, "text")), 1000, [this] {
        Calls().ScriptOpens([](uint64_t) { return EMFILE; });
        return 0;
    });
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
