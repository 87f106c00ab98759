// Channels under many threads: nothing is lost, torn or out of order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "channel/channelfixture.h"
#include "support/onthreads.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

constexpr int kThreads = 8;
constexpr int kRecords = 150;

class ChannelConcurrency : public ChannelTest {
  protected:
    // The records of each thread.
    using RecordsOfThreads = std::map<int, std::vector<int>>;

    // What the files show, in the order of the files.
    struct Seen {
        RecordsOfThreads records;  // in frames of their own
        RecordsOfThreads dumped;   // inside dumps
        uint64_t others = 0;       // notices, and orders of dumps
    };

    // Every file begins in a second of its own, so none is truncated.
    ChannelConcurrency() {
        LetFilesDiffer();
        Make(16, 16, 20000);
    }

    static std::string Detail(int thread, int record) {
        return "t" + std::to_string(thread) + " r" + std::to_string(record) + " " +
               std::string(static_cast<size_t>(record % 40), 'x');
    }

    // Calls `log` with the number of the thread and of the record, on all threads at once.
    template <class Log>
    void LogOnThreads(const Log& log) {
        OnThreads(kThreads, [&log](int thread) {
            for (int record = 0; record < kRecords; ++record) {
                log(thread, record);
            }
        });
    }

    static void Note(RecordsOfThreads& records, const std::string& detail) {
        int thread = -1;
        int record = -1;
        ASSERT_EQ(std::sscanf(detail.c_str(), "t%d r%d ", &thread, &record), 2) << detail;
        EXPECT_EQ(detail, Detail(thread, record));
        records[thread].push_back(record);
    }

    // Ends the channel and reads all files; whatever is torn, and every gap in the numbers, is a
    // failure.
    Seen Read() {
        channel_.reset();
        Seen seen;
        uint64_t number = 0;
        std::vector<ParsedPiece> pieces;
        EXPECT_NO_THROW(pieces = ParseLogDirectory(Path("log")));
        for (const ParsedPiece& piece : pieces) {
            if (piece.kind != ParsedPiece::RECORD && piece.kind != ParsedPiece::DUMP) {
                continue;
            }
            EXPECT_EQ(piece.number, ++number);
            if (piece.record.detail[0] == 't') {
                Note(seen.records, piece.record.detail);
            } else {
                ++seen.others;
            }
            for (const auto& dumped : piece.dumped) {
                Note(seen.dumped, dumped.detail);
            }
        }
        return seen;
    }

    static void ExpectAllInOrder(const Seen& seen) {
        EXPECT_EQ(seen.records.size(), static_cast<size_t>(kThreads));
        for (const auto& [thread, records] : seen.records) {
            ASSERT_EQ(records.size(), static_cast<size_t>(kRecords)) << "thread " << thread;
            for (int record = 0; record < kRecords; ++record) {
                EXPECT_EQ(records[static_cast<size_t>(record)], record) << "thread " << thread;
            }
        }
    }

    static void ExpectAll(Seen seen) {
        for (auto& [thread, records] : seen.records) {
            std::sort(records.begin(), records.end());
        }
        ExpectAllInOrder(seen);
    }
};

TEST_F(ChannelConcurrency, KeepsTheOrderOfRecordsThatAreWrittenAtOnce) {
    LogOnThreads([this](int thread, int record) {
        Output(Detail(thread, record), record % 50 == 7 ? 0 : 1);
    });
    const Seen seen = Read();
    ExpectAllInOrder(seen);
    EXPECT_EQ(seen.others, 0u);
}

// Some records need a chunk of their own.
TEST_F(ChannelConcurrency, KeepsTheOrderOfRecordsThatAreQueued) {
    const std::string large(70000, 'L');
    LogOnThreads([this, &large](int thread, int record) {
        auto queued = WithDetail(Detail(thread, record), record % 50 == 7 ? 0 : 1);
        queued.context = record % 20 == 0 ? large : "c";
        channel_->AppendOutputInfo(queued.Get());
    });
    const Seen seen = Read();
    ExpectAllInOrder(seen);
    EXPECT_GT(seen.others, 0u);
}

TEST_F(ChannelConcurrency, KeepsTheOrderWhereOneThreadFlushesAndNoQueueFills) {
    Make(1000000, 16, 20000);
    LogOnThreads([this](int thread, int record) {
        Queue(Detail(thread, record));
        if (thread == 0 && record % 5 == 0) {
            channel_->Flush();
        }
    });
    ExpectAllInOrder(Read());
}

// A flush writes what it took out of the queue without keeping the queue locked, so that records
// which came later may be in the file before it.
TEST_F(ChannelConcurrency, AccountsForEveryRecordWhateverIsDoneAtOnce) {
    LogOnThreads([this](int thread, int record) {
        const uint64_t before = channel_->FileStatistics().recordsWritten.Get();
        const int level = record % 40 == 9 ? 0 : 2;
        thread % 2 == 0 ? Output(Detail(thread, record), level)
                        : Queue(Detail(thread, record), level);
        Keep(Detail(thread + 100, record));
        if (record % 25 == thread) {
            channel_->Flush();
        }
        if (record % 30 == thread) {
            channel_->OutputAll();
        }
        EXPECT_GE(channel_->FileStatistics().recordsWritten.Get(), before);
        EXPECT_LE(Queued(), 16u);
        EXPECT_LE(Cached(), 16u);
    });
    channel_->Flush();
    EXPECT_EQ(Queued(), 0u);
    EXPECT_EQ(channel_->FileStatistics().recordsDropped.Get(), 0u);
    const uint64_t neverWritten = channel_->Statistics().evicted.Get() + Cached();
    const LogFileStatistics& file = channel_->FileStatistics();
    EXPECT_EQ(channel_->Statistics().received.Get() + channel_->Statistics().receivedDirectly.Get(),
              file.recordsWritten.Get() + file.recordsDumped.Get() + neverWritten);
    const Seen seen = Read();
    ExpectAll(seen);
    uint64_t dumped = 0;
    for (const auto& [thread, records] : seen.dumped) {
        dumped += records.size();
        for (const int record : records) {
            EXPECT_EQ(std::count(records.begin(), records.end(), record), 1) << thread;
        }
    }
    EXPECT_EQ(dumped + neverWritten, static_cast<uint64_t>(kThreads * kRecords));
}

TEST_F(ChannelConcurrency, CarriesContentsOverWhileOthersWrite) {
    Make(16, 16);
    LogOnThreads([this](int thread, int record) {
        Output(Detail(thread, record));
        if (thread == 0 && record % 90 == 5) {
            channel_->ChangePath(Path("log" + std::to_string(record)), "unbi_debug_");
        }
        EXPECT_NE(channel_->CurrentPath(), "");
    });
    channel_->ChangePath(Path("log"), "unbi_debug_");
    ExpectAllInOrder(Read());
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
