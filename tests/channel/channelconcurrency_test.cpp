// Channels under many threads: nothing is lost, torn or out of order.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "channel/channel.h"
#include "channel/channelfixture.h"
#include "support/onthreads.h"

using NS_TEST::OnThreads;
using NS_TEST::ParsedPiece;
using NS_TEST::WithDetail;

namespace NS_LOG_SERVICE1 {
namespace {

constexpr int kThreads = 8;
constexpr int kRecords = 150;

class ChannelConcurrency : public NS_TEST::ChannelTest {
  protected:
    // Every file begins in a second of its own, so none is truncated.
    ChannelConcurrency() { LetFilesDiffer(); }

    static std::string Detail(int thread, int record) {
        return "t" + std::to_string(thread) + " r" + std::to_string(record) + " " +
               std::string(static_cast<size_t>(record % 40), 'x');
    }

    // What the files show, the records of each thread in the order of the files.
    struct Seen {
        std::map<int, std::vector<int>> records;  // of threads, in frames of their own
        std::map<int, std::vector<int>> dumped;   // of threads, inside dumps
        uint64_t others = 0;                      // notices, and orders of dumps
    };

    static void Note(std::map<int, std::vector<int>>& records, const std::string& detail) {
        int thread = -1;
        int record = -1;
        ASSERT_EQ(std::sscanf(detail.c_str(), "t%d r%d ", &thread, &record), 2) << detail;
        EXPECT_EQ(detail, Detail(thread, record));
        records[thread].push_back(record);
    }

    // Reads all files; whatever is torn, and every gap in the numbers, is a failure.
    Seen Read() const {
        Seen seen;
        uint64_t number = 0;
        std::vector<ParsedPiece> pieces;
        EXPECT_NO_THROW(pieces = NS_TEST::ParseLogDirectory(Path("log")));
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
    {
        TEDebugInfoBuf channel("debug", 16, 16, 20000, 5);
        OnThreads(kThreads, [&channel](int thread) {
            for (int record = 0; record < kRecords; ++record) {
                channel.Output(WithDetail(record % 50 == 7 ? 0 : 1, Detail(thread, record)).Get());
            }
        });
    }
    const Seen seen = Read();
    ExpectAllInOrder(seen);
    EXPECT_EQ(seen.others, 0u);
}

TEST_F(ChannelConcurrency, KeepsTheOrderOfRecordsThatAreQueued) {
    {
        TEDebugInfoBuf channel("debug", 16, 16, 20000, 5);
        OnThreads(kThreads, [&channel](int thread) {
            for (int record = 0; record < kRecords; ++record) {
                channel.AppendOutputInfo(
                    WithDetail(record % 50 == 7 ? 0 : 1, Detail(thread, record)).Get());
            }
        });
    }
    const Seen seen = Read();
    ExpectAllInOrder(seen);
    EXPECT_GT(seen.others, 0u);
}

TEST_F(ChannelConcurrency, KeepsTheOrderOfOutsizedRecordsThatAreQueued) {
    const std::string large(70000, 'L');
    {
        TEDebugInfoBuf channel("debug", 7, 16, 100000000, 5);
        OnThreads(kThreads, [&channel, &large](int thread) {
            for (int record = 0; record < 40; ++record) {
                auto outsized = WithDetail(1, Detail(thread, record));
                outsized.context = record % 5 == 0 ? large : "c";
                channel.AppendOutputInfo(outsized.Get());
            }
        });
    }
    const Seen seen = Read();
    EXPECT_EQ(seen.records.size(), static_cast<size_t>(kThreads));
    for (const auto& [thread, records] : seen.records) {
        ASSERT_EQ(records.size(), 40u);
        EXPECT_TRUE(std::is_sorted(records.begin(), records.end())) << "thread " << thread;
    }
}

// A flush writes what it took out of the queue without keeping the queue locked, so that records
// which came later may be in the file before it.
TEST_F(ChannelConcurrency, LosesNothingWhenQueuesAreFlushedMeanwhile) {
    {
        TEDebugInfoBuf channel("debug", 16, 16, 20000, 5);
        OnThreads(kThreads, [&channel](int thread) {
            for (int record = 0; record < kRecords; ++record) {
                channel.AppendOutputInfo(WithDetail(1, Detail(thread, record)).Get());
                if (record % 10 == thread) {
                    channel.Flush();
                }
            }
        });
    }
    ExpectAll(Read());
}

TEST_F(ChannelConcurrency, KeepsTheOrderWhereOneThreadFlushesAndNoQueueFills) {
    {
        TEDebugInfoBuf channel("debug", 1000000, 16, 20000, 5);
        OnThreads(kThreads, [&channel](int thread) {
            for (int record = 0; record < kRecords; ++record) {
                channel.AppendOutputInfo(WithDetail(1, Detail(thread, record)).Get());
                if (thread == 0 && record % 5 == 0) {
                    channel.Flush();
                }
            }
        });
    }
    ExpectAllInOrder(Read());
}

TEST_F(ChannelConcurrency, AccountsForEveryRecordWhateverIsDoneAtOnce) {
    uint64_t evicted = 0;
    uint64_t cached = 0;
    {
        TEDebugInfoBuf channel("debug", 16, 16, 20000, 5);
        OnThreads(kThreads, [&channel](int thread) {
            for (int record = 0; record < kRecords; ++record) {
                const auto entry = WithDetail(record % 40 == 9 ? 0 : 2, Detail(thread, record));
                thread % 2 == 0 ? channel.Output(entry.Get())
                                : channel.AppendOutputInfo(entry.Get());
                channel.AppendFiltered(WithDetail(3, Detail(thread + 100, record)).Get());
                if (record % 25 == thread) {
                    channel.Flush();
                }
                if (record % 30 == thread) {
                    channel.OutputAll();
                }
            }
        });
        channel.Flush();
        EXPECT_EQ(channel.Statistics().queued.Get(), 0u);
        EXPECT_EQ(channel.FileStatistics().recordsDropped.Get(), 0u);
        evicted = channel.Statistics().evicted.Get();
        cached = channel.Statistics().keptBack.Get();
    }
    const Seen seen = Read();
    ExpectAll(seen);
    uint64_t dumped = 0;
    for (const auto& [thread, records] : seen.dumped) {
        dumped += records.size();
        for (const int record : records) {
            EXPECT_EQ(std::count(records.begin(), records.end(), record), 1) << thread;
        }
    }
    EXPECT_EQ(dumped + evicted + cached, static_cast<uint64_t>(kThreads * kRecords));
}

TEST_F(ChannelConcurrency, CarriesContentsOverWhileOthersWrite) {
    {
        TEDebugInfoBuf channel("debug", 16, 16, 100000000, 5);
        OnThreads(kThreads, [this, &channel](int thread) {
            for (int record = 0; record < kRecords; ++record) {
                channel.Output(WithDetail(1, Detail(thread, record)).Get());
                if (thread == 0 && record % 90 == 5) {
                    channel.ChangePath(Path("log" + std::to_string(record)), "unbi_debug_");
                }
                EXPECT_NE(channel.CurrentPath(), "");
            }
        });
        channel.ChangePath(Path("log"), "unbi_debug_");
    }
    ExpectAllInOrder(Read());
}

TEST_F(ChannelConcurrency, LetsAnyThreadReadTheStatistics) {
    TEDebugInfoBuf channel("debug", 16, 16, 20000, 5);
    OnThreads(kThreads, [&channel](int thread) {
        uint64_t written = 0;
        for (int record = 0; record < kRecords; ++record) {
            if (thread % 2 == 0) {
                channel.Output(WithDetail(1, Detail(thread, record)).Get());
            } else {
                const uint64_t now = channel.FileStatistics().recordsWritten.Get();
                EXPECT_GE(now, written);
                written = now;
                EXPECT_LE(channel.Statistics().queued.Get(), 16u);
            }
        }
    });
    EXPECT_EQ(channel.FileStatistics().recordsWritten.Get(),
              static_cast<uint64_t>(kThreads / 2 * kRecords));
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
