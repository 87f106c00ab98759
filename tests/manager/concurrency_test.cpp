// Many threads that log into all categories at once.
#include <atomic>
#include <map>

#include "manager/managerfixture.h"
#include "support/onthreads.h"

using NS_LOG_SERVICE1::kLogCategories;
using NS_LOG_SERVICE1::LevelSwitches;
using NS_LOG_SERVICE1::LogMgr;
using NS_TEST::OnThreads;
using NS_TEST::ParsedPiece;
using NS_TEST::ParsedRecord;

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 60;

// Of a length that differs from record to record.
std::string DetailOf(int thread, int round) {
    return std::string(static_cast<size_t>(1 + round * 13 % 300), static_cast<char>('a' + thread));
}

// The parameter is the output mode.
class ManyThreads : public NS_TEST::BareManagerTest, public testing::WithParamInterface<uint32_t> {
  protected:
    ManyThreads() {
        Manager().filterbuflength = kThreads * kRounds;
        Manager().queuebuflength = 50;
        Manager().outputmode = GetParam();
        Manager().levelSwitches = LevelSwitches(0b0011);
        Manager().CreateChannels();
    }

    // The function carries the thread, the line the place in that thread's order.
    static void LogRound(int number, int round, const char* category) {
        NS_LOG_SERVICE1::LoggerIF* const logger =
            Manager().GetLogger("bundle" + std::to_string(number), "service", category);
        const std::string thread = std::to_string(number);
        const std::string detail = DetailOf(number, round);
        const auto line = static_cast<unsigned>(round);
        logger->Log("written", thread, 2 * line, 1, detail);
        logger->Log("kept", thread, line, 2, detail);
        logger->LogFormat("written", thread, 2 * line + 1, -1, "%s", detail.c_str());
        if (round % 10 == number % 10) {
            logger->Log("trigger", thread, line, 0, detail);
        }
    }
};

// Checks that each thread's records arrive in their order, and collects how many there are.
class OrderByThread {
  public:
    void Add(const ParsedRecord& record) {
        const long line = std::stol(record.line);
        const auto last = last_.find(record.function);
        if (last != last_.end() && line <= last->second) {
            ADD_FAILURE() << record.file << " of thread " << record.function << ": " << line
                          << " behind " << last->second;
        }
        last_[record.function] = line;
        ++count_;
    }
    int Count() const { return count_; }

  private:
    std::map<std::string, long> last_;
    int count_ = 0;
};

void ExpectDetailIntact(const ParsedRecord& record) {
    const int line = std::stoi(record.line);
    const int round = record.file == "written" ? line / 2 : line;
    EXPECT_EQ(record.detail, DetailOf(std::stoi(record.function), round));
}

// Reads all of one category and checks it.
class CategoryCheck {
  public:
    explicit CategoryCheck(const std::vector<ParsedPiece>& pieces) {
        for (const ParsedPiece& piece : pieces) {
            if (piece.kind == ParsedPiece::RECORD || piece.kind == ParsedPiece::DUMP) {
                EXPECT_EQ(piece.number, ++lastNumber_);
                AddNumbered(piece);
            }
        }
    }

    OrderByThread written;
    OrderByThread kept;
    OrderByThread triggers;
    int notices = 0;

  private:
    void AddNumbered(const ParsedPiece& piece) {
        if (piece.record.function == "TEDebugInfoBuf::AppendOutputInfo") {
            EXPECT_EQ(piece.record.detail, "Debug cache is full, force output execute.");
            ++notices;
            return;
        }
        EXPECT_EQ(piece.kind == ParsedPiece::DUMP, piece.record.level == 0);
        if (piece.kind == ParsedPiece::DUMP) {
            triggers.Add(piece.record);
        } else {
            written.Add(piece.record);
            ExpectDetailIntact(piece.record);
        }
        for (const ParsedRecord& record : piece.dumped) {
            kept.Add(record);
            ExpectDetailIntact(record);
        }
    }

    uint64_t lastNumber_ = 0;
};

TEST_P(ManyThreads, LoseNothingAndTearNothing) {
    OnThreads(kThreads, [](int number) {
        for (int round = 0; round < kRounds; ++round) {
            for (const char* category : kLogCategories) {
                LogRound(number, round, category);
            }
        }
    });
    // Brings out what is still kept back.
    for (const char* category : kLogCategories) {
        Manager().GetLogger("last", "", category)->Log("f", "last", 0, 0, "end");
    }
    LogMgr::DestroyInstance();
    for (const char* category : kLogCategories) {
        SCOPED_TRACE(category);
        ASSERT_EQ(Files(category).size(), 1u);
        const CategoryCheck found(NS_TEST::ParseLogPieces(Path("log/" + Files(category).front())));
        EXPECT_EQ(found.written.Count(), 2 * kThreads * kRounds);
        EXPECT_EQ(found.kept.Count(), kThreads * kRounds);
        EXPECT_EQ(found.triggers.Count(), 1 + kThreads * kRounds / 10);
        if (GetParam() == 0) {
            EXPECT_EQ(found.notices, 0);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(InMode, ManyThreads, testing::Values(0u, 1u));

// How often each detail stands in the file, as a record or inside a dump.
std::map<std::string, int> Occurrences(const std::string& path) {
    std::map<std::string, int> occurrences;
    for (const ParsedPiece& piece : NS_TEST::ParseLogPieces(path)) {
        if (piece.kind == ParsedPiece::RECORD) {
            ++occurrences[piece.record.detail];
        }
        for (const ParsedRecord& record : piece.dumped) {
            ++occurrences[record.detail];
        }
    }
    return occurrences;
}

class ManyThreadsWhileThingsChange : public NS_TEST::BareManagerTest {
  protected:
    static constexpr int kRecords = 150;

    ManyThreadsWhileThingsChange() {
        Manager().filterbuflength = kThreads * kRecords;
        Manager().levelSwitches = LevelSwitches(0b0011);
        Manager().CreateChannels();
    }

    // Calls `change` with a growing number for as long as the threads log, and then looks for each
    // of their records.
    template <class Change>
    void ExpectEachRecordOnceWhile(Change change) {
        std::atomic<int> running{kThreads};
        OnThreads(kThreads + 1, [&running, &change](int number) {
            if (number == kThreads) {
                for (unsigned round = 0; running > 0; ++round) {
                    change(round);
                }
                return;
            }
            const std::string name = std::to_string(number);
            NS_LOG_SERVICE1::LoggerIF* const logger = Manager().GetLogger("a", name, "debug");
            for (int record = 0; record < kRecords; ++record) {
                logger->Log("f.cpp", "Run", 7, 1, name + ":" + std::to_string(record));
            }
            --running;
        });
        Manager().FlushAll();
        Manager().GetLogger("last", "", "debug")->Log("f.cpp", "Run", 7, 0, "end");
        ASSERT_EQ(Files("debug").size(), 1u);
        std::map<std::string, int> expected;
        for (int number = 0; number < kThreads; ++number) {
            for (int record = 0; record < kRecords; ++record) {
                expected[std::to_string(number) + ":" + std::to_string(record)] = 1;
            }
        }
        EXPECT_THAT(Occurrences(Path("log/" + Files("debug").front())),
                    testing::ContainerEq(expected));
    }
};

TEST_F(ManyThreadsWhileThingsChange, LoseNothingToTheOutputMode) {
    ExpectEachRecordOnceWhile([](unsigned round) {
        Manager().outputmode = round % 2;
        Manager().FlushAll();
    });
}

TEST_F(ManyThreadsWhileThingsChange, LoseNothingToTheLevelSwitches) {
    ExpectEachRecordOnceWhile([](unsigned round) {
        if (round % 2 == 0) {
            Manager().DisableAllLogLevel(1);
        } else {
            Manager().EnableAllLogLevel(1);
        }
    });
}

TEST_F(ManyThreadsWhileThingsChange, LoseNothingToDumps) {
    Manager().outputmode = 1;
    NS_LOG_SERVICE1::TEDebugInfoBuf* const channel = Manager().Channels().Find("debug");
    ExpectEachRecordOnceWhile([channel](unsigned round) {
        Manager().DisableAllLogLevel(1);
        channel->OutputAll();
        Manager().EnableAllLogLevel(1);
        if (round % 2 == 0) {
            channel->Flush();
        }
    });
}

}  // namespace
