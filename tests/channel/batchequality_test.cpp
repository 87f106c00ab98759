// A batch is written as its records would be one by one, whatever goes wrong on the way.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "channel/channelfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

// Creation times depend on how often the clock was read; where one file ends and the next begins,
// and everything else, does not.
std::string WithoutTimes(std::string text) {
    for (const std::string mark : {"File create at ", "File close at "}) {
        for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
            text.replace(at + mark.size(), kStampSize, "TIME");
        }
    }
    return text;
}

// What goes wrong while the records are written.
struct Disturbance {
    std::optional<size_t> largestFile;
    std::function<int(uint64_t)> opens;
};

class BatchEquality : public LogFileTest {
  protected:
    using Records = std::vector<OwnedRecord>;

    BatchEquality() { LetFilesDiffer(); }

    // What the files hold, and what the log file says about itself.
    std::string OutcomeOf(uint64_t limit, const Disturbance& disturbance,
                          const std::function<void()>& write) {
        Make(limit);
        Calls().ScriptOpens(disturbance.opens);
        {
            std::optional<FileSizeLimit> largest;
            if (disturbance.largestFile) {
                largest.emplace(*disturbance.largestFile);
            }
            write();
        }
        Calls().ScriptOpens(nullptr);
        std::ostringstream outcome;
        outcome << file_->IsOpen();
        for (const Counter* const counter :
             {&Counts().recordsWritten, &Counts().recordsDropped, &Counts().bytesWritten,
              &Counts().rotations, &Counts().lastError, &Counts().recordsDumped}) {
            outcome << " " << counter->Get();
        }
        Write("the number after all");
        file_.reset();
        for (const std::string& name : ListFiles(Path("log"))) {
            const std::string text = ReadFile(Path("log/" + name));
            EXPECT_NO_THROW(ParseLogText(text));
            outcome << "\n-- next file\n" << WithoutTimes(text);
        }
        return outcome.str();
    }

    void ExpectEquality(const Records& records, uint64_t limit, const Disturbance& disturbance) {
        RecordQueue queue;
        for (const OwnedRecord& record : records) {
            AppendTo(queue, record);
        }
        const std::string batch =
            OutcomeOf(limit, disturbance, [&] { file_->WriteRecords(queue); });
        const std::string single = OutcomeOf(limit, disturbance, [&] {
            for (const OwnedRecord& record : records) {
                file_->WriteRecord(record.Get());
            }
        });
        ASSERT_EQ(batch, single) << "limit " << limit;
    }

    // Many records under disturbances that `disturb` makes up.
    void ExpectEqualityOfMany(unsigned int seed,
                              const std::function<Disturbance(std::mt19937&)>& disturb) {
        std::mt19937 random(seed);
        for (int round = 0; round < 45; ++round) {
            SCOPED_TRACE(round);
            const uint64_t limit = random() % 4 == 0   ? random() % 100
                                   : random() % 3 == 0 ? 1000000
                                                       : random() % 6000;
            ExpectEquality(RandomRecords(random), limit, disturb(random));
            ASSERT_FALSE(HasFailure());
        }
    }

  private:
    static Records RandomRecords(std::mt19937& random) {
        Records records(random() % 60);
        const size_t longest = random() % 3 == 0 ? 3000 : 150;
        for (OwnedRecord& record : records) {
            record.level = static_cast<int>(random() % 6) - 2;
            record.detail.assign(random() % longest, 'x');
            record.time = ACE_Time_Value(1709647000 + static_cast<time_t>(random() % 99), 5);
        }
        return records;
    }
};

// The files from the first to the last one cannot be opened.
Disturbance WithoutFiles(uint64_t first, uint64_t last) {
    return {std::nullopt, [first, last](uint64_t number) {
                return number >= first && number <= last ? EMFILE : 0;
            }};
}

TEST_F(BatchEquality, HoldsForAnySizesAndLimits) {
    ExpectEquality({}, 1000, {});
    ExpectEqualityOfMany(1, [](std::mt19937&) { return Disturbance(); });
}

TEST_F(BatchEquality, HoldsWhereARecordReachesTheLimitExactly) {
    for (uint64_t records = 1; records <= 4; ++records) {
        const uint64_t exact = kCreatedSize + records * Frame(1, "text").size();
        for (const uint64_t limit : {exact - 1, exact, exact + 1}) {
            ExpectEquality(Records(9), limit, {});
        }
    }
}

TEST_F(BatchEquality, HoldsWhereFilesCannotGrow) {
    ExpectEqualityOfMany(2, [](std::mt19937& random) {
        return Disturbance{random() % (random() % 3 == 0 ? 300 : 5000), nullptr};
    });
}

TEST_F(BatchEquality, HoldsWhereFilesCannotBeOpened) {
    ExpectEqualityOfMany(3, [](std::mt19937& random) {
        const uint64_t first = 1 + random() % 6;
        return WithoutFiles(first, first + random() % 6);
    });
}

TEST_F(BatchEquality, HoldsWhereFilesCannotGrowAndSomeCannotBeOpened) {
    ExpectEqualityOfMany(4, [](std::mt19937& random) {
        const uint64_t every = 2 + random() % 3;
        return Disturbance{random() % 4000,
                           [every](uint64_t number) { return number % every == 0 ? EACCES : 0; }};
    });
}

TEST_F(BatchEquality, HoldsWhereEveryFileFails) {
    ExpectEquality(Records(20), 1000, {0, nullptr});
    ExpectEquality(Records(20), 1000, WithoutFiles(1, UINT64_MAX));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
