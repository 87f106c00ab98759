// Each single call of a short scenario fails in turn, in every way in which it can fail.
#include <algorithm>
#include <cerrno>
#include <tuple>

#include "faults/faultsfixture.h"

using namespace NS_LOG_SERVICE1;
using namespace testing;

namespace NS_TEST {
namespace {

std::string NameOf(OutputKind kind) {
    return kind == OutputKind::DIRECT ? "Direct" : kind == OutputKind::QUEUED ? "Queued" : "Dump";
}

class EveryCall : public FaultsTest,
                  public WithParamInterface<std::tuple<LogFilePolicy, OutputKind>> {
  protected:
    static LogFilePolicy Policy() { return std::get<0>(GetParam()); }
    static OutputKind Kind() { return std::get<1>(GetParam()); }

    Outcome Run(const std::vector<Fault>& faults) {
        Begin(Kind(), Policy(), faults);
        switch (Kind()) {
            case OutputKind::DIRECT:
                LogDirectly();
                break;
            case OutputKind::QUEUED:
                LogIntoTheQueue();
                break;
            case OutputKind::DUMP:
                LogWithDumps();
                break;
        }
        return End();
    }

    // Calls `check` for each call of that kind which the scenario makes without a fault, with the
    // outcome of the scenario in which it meets what `faults` makes of its number.
    template <class Faults, class Check>
    void ForEachCall(FaultyCall call, Faults faults, Check check) {
        const uint64_t calls = faultless_.calls.at(call);
        ASSERT_GT(calls, 3u);
        for (uint64_t n = 1; n <= calls; ++n) {
            SCOPED_TRACE("call " + std::to_string(n) + " of " + std::to_string(calls));
            const Outcome outcome = Run(faults(n));
            EXPECT_GE(outcome.faults, 1u);
            const FileContents found = Read(outcome);
            ExpectClosedBooks(outcome, found);
            check(outcome, found);
            if (HasFailure()) {
                return;
            }
        }
    }

    void SetUp() override {
        faultless_ = Run({});
        const FileContents found = Read(faultless_);
        ExpectClosedBooks(faultless_, found);
        ASSERT_EQ(found.All().size(), faultless_.logged);
        ASSERT_GT(faultless_.files.size(), 2u);
    }

    // What one failure can cost at most. In direct output: a record. In queued output: the batch
    // for which no file could be opened. Else the history of a dump, and the record that asks for
    // it where there is no file.
    static uint64_t MostLost() {
        return Kind() == OutputKind::DIRECT ? 1 : Kind() == OutputKind::QUEUED ? kQueue : kKept + 1;
    }

    // Who goes on in the next file loses of a batch only the record that tore.
    static uint64_t MostLostByAWrite() {
        return Kind() == OutputKind::QUEUED && Policy() == LOG_FILE_POLICY_CONTRACT ? 1
                                                                                    : MostLost();
    }

    // `most`: that may be lost.
    void ExpectLittleLost(const Outcome& outcome, const FileContents& found, uint64_t most) const {
        EXPECT_LE(outcome.books.recordsDropped, most);
        EXPECT_LE(outcome.logged - found.All().size(), most);
        // The channel tells of the failure, unless the failing call is one of its end.
        if (outcome.books.recordsDropped > 0) {
            EXPECT_NE(outcome.books.lastError, 0);
        }
        // An error is never lost with its history, but where there is no file at all.
        if (Kind() == OutputKind::DUMP && outcome.books.recordsDropped <= kKept) {
            for (const int error : {4, 9, 14}) {
                EXPECT_THAT(found.written, Contains(error));
            }
        }
    }

    Outcome faultless_;

  private:
    void LogDirectly() {
        for (int i = 0; i < 12; ++i) {
            LogNext(1);
        }
    }
    void LogIntoTheQueue() {
        for (int i = 0; i < 10; ++i) {
            LogNext(1);
        }
        LogNext(0);
        for (int i = 0; i < 3; ++i) {
            LogNext(1);
        }
        Maintenance().FlushAll();
        LogNext(1);
    }
    void LogWithDumps() {
        for (int dump = 0; dump < 3; ++dump) {
            for (uint64_t i = 0; i < kKept; ++i) {
                LogNext(3);
            }
            LogNext(0);
            LogNext(1);
        }
        LogNext(3);
        Maintenance().OutputAll("corbaoper");
    }
};

TEST_P(EveryCall, ThatIsInterruptedOrCutShortChangesNotOneByte) {
    const auto same = [this](const Outcome& outcome, const FileContents&) {
        EXPECT_EQ(outcome.files, faultless_.files);
        EXPECT_EQ(outcome.books.recordsDropped, 0u);
    };
    for (const FaultyCall call : {FaultyCall::WRITE, FaultyCall::OPEN}) {
        ForEachCall(
            call,
            [call](uint64_t n) {
                return std::vector<Fault>{{call, n, n, EINTR}};
            },
            same);
    }
    for (const size_t bytes : {size_t{1}, size_t{47}}) {
        ForEachCall(
            FaultyCall::WRITE,
            [bytes](uint64_t n) {
                return std::vector<Fault>{{FaultyCall::WRITE, n, n, 0, bytes}};
            },
            same);
    }
}

TEST_P(EveryCall, ThatFailsToCloseAFileChangesNotOneByte) {
    for (const int error : {EIO, EINTR, ENOSPC}) {
        ForEachCall(
            FaultyCall::CLOSE,
            [error](uint64_t n) {
                return std::vector<Fault>{{FaultyCall::CLOSE, n, n, error}};
            },
            [this](const Outcome& outcome, const FileContents&) {
                EXPECT_EQ(outcome.files, faultless_.files);
                EXPECT_EQ(outcome.books.recordsDropped, 0u);
            });
    }
}

TEST_P(EveryCall, ThatFailsToWriteLosesAtMostOneRecordOrOneHistory) {
    for (const int error : {EIO, ENOSPC}) {
        ForEachCall(
            FaultyCall::WRITE,
            [error](uint64_t n) {
                return std::vector<Fault>{{FaultyCall::WRITE, n, n, error}};
            },
            [this](const Outcome& outcome, const FileContents& found) {
                ExpectLittleLost(outcome, found, MostLostByAWrite());
            });
    }
}

TEST_P(EveryCall, ThatFailsBehindAPartLeavesNothingOfTheTornPiece) {
    for (const size_t bytes : {size_t{1}, size_t{30}, size_t{230}}) {
        ForEachCall(
            FaultyCall::WRITE,
            [bytes](uint64_t n) {
                return std::vector<Fault>{{FaultyCall::WRITE, n, n, 0, bytes},
                                          {FaultyCall::WRITE, n + 1, n + 1, ENOSPC}};
            },
            [this](const Outcome& outcome, const FileContents& found) {
                ExpectLittleLost(outcome, found, MostLostByAWrite());
            });
    }
}

TEST_P(EveryCall, ThatFailsToOpenAFileLosesWhatWaitedForIt) {
    for (const int error : {EMFILE, ENOSPC}) {
        ForEachCall(
            FaultyCall::OPEN,
            [error](uint64_t n) {
                return std::vector<Fault>{{FaultyCall::OPEN, n, n, error}};
            },
            [this](const Outcome& outcome, const FileContents& found) {
                ExpectLittleLost(outcome, found, MostLost());
            });
    }
}

// As on a disk that is full from then on: what was written before stays, nothing is torn.
TEST_P(EveryCall, FromWhichOnAllFailLeavesWhatWasWrittenBefore) {
    for (const FaultyCall call : {FaultyCall::WRITE, FaultyCall::OPEN}) {
        std::set<int> before;
        ForEachCall(
            call,
            [call](uint64_t n) {
                return std::vector<Fault>{{call, n, UINT64_MAX, ENOSPC}};
            },
            [&before](const Outcome&, const FileContents& found) {
                const std::set<int> now = found.All();
                EXPECT_TRUE(std::includes(now.begin(), now.end(), before.begin(), before.end()));
                before = now;
            });
        EXPECT_FALSE(before.empty());
    }
}

// A disk that is now full, now free.
TEST_P(EveryCall, OfWhichSomeFailLosesNoMoreThanThose) {
    for (uint64_t every = 2; every <= 5; ++every) {
        SCOPED_TRACE(every);
        std::vector<Fault> faults;
        for (uint64_t n = every; n <= 200; n += every) {
            faults.push_back({FaultyCall::WRITE, n, n, ENOSPC});
        }
        const Outcome outcome = Run(faults);
        EXPECT_GE(outcome.faults, 3u);
        const FileContents found = Read(outcome);
        ExpectClosedBooks(outcome, found);
        EXPECT_LE(outcome.books.recordsDropped, outcome.faults * MostLost());
        EXPECT_FALSE(found.All().empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Policies, EveryCall,
                         Combine(Values(LOG_FILE_POLICY_CONTRACT, LOG_FILE_POLICY_KEEP_RECORDS),
                                 Values(OutputKind::DIRECT, OutputKind::QUEUED, OutputKind::DUMP)),
                         [](const auto& instance) {
                             return std::string(std::get<0>(instance.param) ==
                                                        LOG_FILE_POLICY_CONTRACT
                                                    ? "Contract"
                                                    : "KeepRecords") +
                                    NameOf(std::get<1>(instance.param));
                         });

}  // namespace
}  // namespace NS_TEST
