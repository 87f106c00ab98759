// Memory runs out at every place in turn. Each record is written once, waits, or is counted as
// lost.
#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <thread>

#include "channel/channelfixture.h"
#include "logger/logger.h"
#include "support/allocations.h"
#include "support/onthreads.h"

namespace NS_TEST {
namespace {

using namespace NS_LOG_SERVICE1;
using namespace testing;

// How many places are left out between two that are tried; none with QV_TEST_FULL set.
int LongestStep() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int kUsual = 20;  // instrumented programs are slow
#else
    constexpr int kUsual = 1;
#endif
    return std::getenv("QV_TEST_FULL") == nullptr ? kUsual : 1;
}

// A logger whose level 2 is off, with a short queue, a short history and short files.
class Service {
  public:
    explicit Service(uint32_t outputMode) {
        settings_.outputmode = outputMode;
        settings_.queuebuflength = 4;
        settings_.filterbuflength = 3;
        settings_.logfilesize = 3000;
        settings_.levelSwitches = LevelSwitches("1011");
        channels_.Create(settings_);
        logger_ = std::make_unique<Logger>("a", "b", "debug", settings_, channels_);
    }
    ~Service() { channels_.Destroy(); }

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    Logger& GetLogger() { return *logger_; }
    TEDebugInfoBuf& Channel() { return *channels_.Find("debug"); }

  private:
    LogSettings settings_;
    ChannelMap channels_;
    std::unique_ptr<Logger> logger_;
};

class OutOfMemory : public FrozenClockTest {
  protected:
    OutOfMemory() {
        for (int i = 0; i < 24; ++i) {
            // Long enough for strings to be allocated; one needs a chunk of its own.
            const size_t length = i == 8 ? 70000 : 40 + static_cast<size_t>(i);
            texts_.push_back("record " + std::to_string(i) + " " + std::string(length, 'x'));
        }
        LetFilesDiffer();
    }

    // Calls `operation`; says whether memory ran out.
    template <class Operation>
    static bool RunsOut(Operation operation) {
        try {
            operation();
            return false;
        } catch (const std::bad_alloc&) {
            return true;
        }
    }

    // Logs each of the texts, in between writes out what waits. Returns how often an exception
    // came.
    int LogAll(Service& service) const {
        int exceptions = 0;
        Logger& logger = service.GetLogger();
        TEDebugInfoBuf& channel = service.Channel();
        for (size_t i = 0; i < texts_.size(); ++i) {
            const int level = i % 13 == 12 ? 0 : i % 5 == 3 ? 2 : i % 7 == 6 ? -2 : 1;
            exceptions += RunsOut([&] {
                i % 3 == 0 && texts_[i].size() < 4000
                    ? logger.LogFormat(file_, function_, 7, level, "%s", texts_[i].c_str())
                    : logger.Log(file_, function_, 7, level, texts_[i]);
            });
            if (i % 17 == 10) {
                exceptions += RunsOut([&] { channel.Flush(); });
            }
            if (i % 19 == 15) {
                exceptions += RunsOut([&] { channel.OutputAll(); });
            }
        }
        return exceptions;
    }

    // How often each text stands in the files of the directory; all others are counted as "".
    static std::map<std::string, uint64_t> Count(const std::string& directory) {
        std::map<std::string, uint64_t> times;
        const auto count = [&times](const ParsedRecord& record) {
            ++times[record.detail.rfind("record ", 0) == 0 ? record.detail : ""];
        };
        for (const ParsedPiece& piece : ParseLogDirectory(directory)) {
            if (piece.kind != ParsedPiece::FILE_CREATED && piece.kind != ParsedPiece::FILE_CLOSED) {
                count(piece.record);
            }
            for (const ParsedRecord& dumped : piece.dumped) {
                count(dumped);
            }
        }
        return times;
    }

    // Writes out what still waits and closes the books: each text was written once, or is one of
    // those that were lost and counted.
    void CloseBooks(Service& service, const std::string& directory) const {
        TEDebugInfoBuf& channel = service.Channel();
        channel.OutputAll();
        const uint64_t lost = channel.Dropped() + channel.Statistics().evicted.Get();
        std::map<std::string, uint64_t> times = Count(directory);
        const uint64_t own = times[""];
        times.erase("");
        uint64_t written = 0;
        for (const auto& [text, count] : times) {
            EXPECT_EQ(count, 1u) << text.substr(0, 20);
            written += count;
        }
        EXPECT_LE(texts_.size() - written, lost);
        EXPECT_EQ(channel.Received(), written + own + lost);
        EXPECT_EQ(written + own, channel.FileStatistics().recordsWritten.Get() +
                                     channel.FileStatistics().recordsDumped.Get());
    }

    const std::string file_ = "a file name that is allocated";
    const std::string function_ = "a function name that is allocated";
    std::vector<std::string> texts_;
};

TEST_F(OutOfMemory, LeavesEachRecordWrittenOnceOrCountedWhereverItStrikes) {
    std::mt19937 random(4711);
    std::uniform_int_distribution<long> step(1, LongestStep());
    for (const uint32_t mode : {kDirectOutput, kQueuedOutput}) {
        for (const bool once : {true, false}) {
            int exceptions = 0;
            bool reached = true;
            for (long successes = 0; reached && !HasFailure(); successes += step(random)) {
                const std::string name =
                    std::to_string(mode) + (once ? "once" : "from") + std::to_string(successes);
                SCOPED_TRACE(name);
                const ScopedVariable share("_APP_SHARE_DIR", Path(name));
                Service service(mode);
                ForgetAllocations();
                once ? FailOneAllocationAfter(successes) : FailAllocationsAfter(successes);
                exceptions += LogAll(service);
                FailAllocationsAfter(-1);
                reached = static_cast<long>(AllocationsOfThisThread().count) >= successes;
                CloseBooks(service, Path(name + "/log"));
            }
            EXPECT_GT(exceptions, 0);
        }
    }
}

// The dump is what needs memory here: ordered, or in the place of one that could not be written.
TEST_F(OutOfMemory, CountsTheHistoryOfADumpThatIsNotWritten) {
    for (const bool ordered : {true, false}) {
        bool reached = true;
        for (long successes = 0; reached && !HasFailure(); ++successes) {
            const std::string name = (ordered ? "ordered" : "failed") + std::to_string(successes);
            SCOPED_TRACE(name);
            const ScopedVariable share("_APP_SHARE_DIR", Path(name));
            Service service(kDirectOutput);
            for (const std::string& text : texts_) {
                service.GetLogger().Log(file_, function_, 7, LOG_LEVEL_2, text);
            }
            // The first write is that of the file's first line.
            Calls().ScriptWrites([ordered](uint64_t number, std::string_view) {
                return !ordered && number == 2 ? Fate{0, EIO} : Fate();
            });
            ForgetAllocations();
            FailAllocationsAfter(successes);
            RunsOut([&] {
                ordered ? service.Channel().OutputAll()
                        : service.GetLogger().Log(file_, function_, 7, LOG_LEVEL_0, "error");
            });
            FailAllocationsAfter(-1);
            Calls().ScriptWrites(nullptr);
            reached = static_cast<long>(AllocationsOfThisThread().count) >= successes;
            CloseBooks(service, Path(name + "/log"));
        }
    }
}

// Such a logger finds its channel with its first record.
TEST_F(OutOfMemory, IsCountedForALoggerThatIsOlderThanItsChannel) {
    const ScopedVariable share("_APP_SHARE_DIR", Path());
    LogSettings settings;
    ChannelMap channels;
    Logger logger("a", "b", "debug", settings, channels);
    channels.Create(settings);
    logger.Log(file_, function_, 7, 1, "first");
    const std::string longer(4000, 'x');
    FailNextAllocation();
    EXPECT_TRUE(RunsOut([&] { logger.LogFormat(file_, function_, 7, 1, "%s", longer.c_str()); }));
    FailAllocationsAfter(-1);
    EXPECT_EQ(channels.Find("debug")->Dropped(), 1u);
    channels.Destroy();
}

// Each record fills its file here. What a file held that was left is remembered in memory.
TEST_F(OutOfMemory, LeavesAFileAlsoWhereItsRecordsCannotBeRemembered) {
    const OwnedRecord record = WithDetail("text");
    uint64_t failures = 0;
    for (long successes = 0; successes < 12; ++successes) {
        const std::string directory = std::to_string(successes);
        LogFile file(Path(directory).c_str(), "unbi_debug_", 1, 5);
        for (int i = 0; i < 40; ++i) {
            FailOneAllocationAfter(i < 8 ? -1 : successes);
            RunsOut([&] { file.WriteRecord(record.Get()); });
            FailAllocationsAfter(-1);
        }
        file.Close();
        const LogFileStatistics& counts = file.Statistics();
        EXPECT_EQ(counts.recordsWritten.Get() + counts.recordsDropped.Get(), 40u);
        EXPECT_EQ(OfKind(ParseLogDirectory(Path(directory)), ParsedPiece::RECORD).size(),
                  counts.recordsWritten.Get());
        failures += counts.failures.Get();
    }
    EXPECT_GT(failures, 0u) << "a file that cannot be left for lack of memory is a failure";
}

// Threads that log at once write for each other. What one of them meets is its own.
TEST_F(OutOfMemory, LeavesEachRecordOfManyThreadsWrittenOnceOrCounted) {
    constexpr size_t kThreads = 4;
    for (const uint32_t mode : {kDirectOutput, kQueuedOutput}) {
        const std::string name = std::to_string(mode);
        const ScopedVariable share("_APP_SHARE_DIR", Path(name));
        Service service(mode);
        std::atomic<int> exceptions{0};
        OnThreads(kThreads, [&](size_t thread) {
            for (size_t i = thread; i < texts_.size(); i += kThreads) {
                FailOneAllocationAfter(static_cast<long>(i % 5));
                exceptions += RunsOut([&] {
                    service.GetLogger().Log(file_, function_, 7, i % 3 == 0 ? 2 : 1, texts_[i]);
                });
                FailAllocationsAfter(-1);
            }
        });
        EXPECT_GT(exceptions, 0);
        CloseBooks(service, Path(name + "/log"));
    }
}

// A file must not begin without its first line.
TEST_F(OutOfMemory, LeavesTheFirstAndTheLastLineOfAFileAlone) {
    const std::string created = Created();
    const std::string closed = NS_TEST::Closed();
    FileLines lines;
    ForgetAllocations();
    const bool same = lines.Created() == created && lines.Closed() == closed;
    EXPECT_EQ(AllocationsOfThisThread().count, 0u);
    EXPECT_TRUE(same);
}

// With records kept, a gap in the numbers tells how many are missing.
TEST_F(OutOfMemory, UsesUpOneNumberForEachRecordThatIsLost) {
    LogFile file(Path().c_str(), "unbi_", 1 << 30, 1);
    file.SetPolicy(FilePolicy::kKeepRecords);
    file.WriteRecord(WithDetail("first").Get());
    const OwnedRecord large = WithDetail(std::string(5000000, 'x'));
    FailNextAllocation();
    EXPECT_THROW(file.WriteRecord(large.Get()), std::bad_alloc);
    file.WriteRecord(WithDetail("third").Get());
    FailNextAllocation();
    EXPECT_THROW(file.WriteRecordWithDump(large.Get(), KeptRecords(0)), std::bad_alloc);
    file.WriteRecord(WithDetail("fifth").Get());
    EXPECT_EQ(file.Statistics().recordsDropped.Get(), 2u);
    EXPECT_EQ(ReadFile(file.CurrentPath()),
              Created() + Frame(1, "first") + Frame(3, "third") + Frame(5, "fifth"));
}

// Each thread of the group then tries again by itself.
TEST_F(OutOfMemory, LeavesAGroupAsItWasWhenItsFirstFrameHasNoRoom) {
    LogFile file(Path().c_str(), "unbi_", 1 << 30, 1);
    file.WriteRecord(WithDetail("first").Get());
    const OwnedRecord large = WithDetail(std::string(5000000, 'x'));
    const OwnedRecord small = WithDetail("small");
    FrameStamps stamps(64);
    FrameBuffer largeFrame;
    FrameBuffer smallFrame;
    WaitingRecord second(UnnumberedFrame(largeFrame, stamps.Of(large.Get()), large.Get()));
    WaitingRecord third(UnnumberedFrame(smallFrame, stamps.Of(small.Get()), small.Get()));
    second.next = &third;
    FailNextAllocation();
    EXPECT_THROW(file.WriteGroup(&second), std::bad_alloc);
    EXPECT_FALSE(second.done || third.done);
    file.WriteGroup(&second);
    EXPECT_TRUE(second.done && third.done);
    EXPECT_EQ(
        ReadFile(file.CurrentPath()),
        Created() + Frame(1, "first") + Frame(2, std::string(5000000, 'x')) + Frame(3, "small"));
}

}  // namespace
}  // namespace NS_TEST
