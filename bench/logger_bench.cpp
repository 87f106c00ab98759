// What one call of LoggerIF::LogFormat costs: written at once, queued, or kept back because its
// level is off; beside the bare system call that writes a ready buffer of the same length, and what
// the counters that operators see have in it.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "manager/logmgr.h"
#include "qv_base_log/logmacros.h"
#include "util/threadcontext.h"

namespace {

using NS_LOG_SERVICE1::LOG_LEVEL_1;
using NS_LOG_SERVICE1::LOG_LEVEL_3;
using NS_LOG_SERVICE1::Logger;
using NS_LOG_SERVICE1::LogMgr;

constexpr size_t kRecordSize = 255;

// A log directory for the process, removed at its end, and a manager that writes there.
class Service {
  public:
    Service() : directory_(std::filesystem::temp_directory_path() / "qv_logger_bench") {
        std::filesystem::create_directories(directory_);
        setenv("_APP_SHARE_DIR", directory_.c_str(), 1);
        LogMgr& manager = *LogMgr::Instance();
        manager.logfilesize = 2000000000;
        manager.levelSwitches = NS_LOG_SERVICE1::LevelSwitches("0111");
        manager.CreateChannels();
    }
    ~Service() {
        LogMgr::DestroyInstance();
        std::filesystem::remove_all(directory_);
    }

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    const std::filesystem::path& Directory() const { return directory_; }

  private:
    std::filesystem::path directory_;
};

Service& TheService() {
    static Service service;
    return service;
}

void LogOne(Logger* logger, int level, int number) {
    QV_LOG_FORMAT(logger, level, "%d network elements answered %s after %.3f s", number,
                  "getAllManagedElements", 0.125);
}

// One scope for each thread: the operation that the records name.
const NS_UTIL::ThreadContextInfo kOperation(12, "getAllManagedElements", "operator1",
                                            "0b9f2f0e-9d4c-4c38-a1b7-2f6a");

void RunLogger(benchmark::State& state, int level, uint32_t mode) {
    TheService();
    LogMgr& manager = *LogMgr::Instance();
    if (state.thread_index() == 0) {
        manager.outputmode = mode;
    }
    Logger* logger = manager.GetLogger("bench", "logger", "corbaoper");
    const NS_UTIL::ThreadContextScope scope(kOperation);
    int number = 0;
    for (auto _ : state) {
        LogOne(logger, level, ++number);
    }
    if (state.thread_index() == 0) {
        manager.FlushAll();
        manager.outputmode = 0;
    }
    state.SetItemsProcessed(state.iterations());
}

void WriteReadyBuffer(benchmark::State& state) {
    const std::string path = TheService().Directory() / "ready";
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    const std::string record(kRecordSize, 'x');
    for (auto _ : state) {
        benchmark::DoNotOptimize(write(descriptor, record.data(), record.size()));
    }
    close(descriptor);
    state.SetItemsProcessed(state.iterations());
}

// What is counted of a record on its way through a channel's queue, or less, into a file.
void CountedOnly(benchmark::State& state) {
    NS_LOG_SERVICE1::ChannelStatistics waiting;
    NS_LOG_SERVICE1::LogFileStatistics file;
    uint64_t queued = 0;
    for (auto _ : state) {
        queued = (queued + 1) % 16384;
        waiting.queued.Set(queued);
        waiting.queuedMost.RaiseTo(queued);
        waiting.keptBack.Set(queued / 128);
        file.bytesWritten.Add(kRecordSize);
        file.recordsWritten.Add(1);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

void WrittenAtOnce(benchmark::State& state) {
    RunLogger(state, LOG_LEVEL_1, 0);
}
void Queued(benchmark::State& state) {
    RunLogger(state, LOG_LEVEL_1, 1);
}
void KeptBack(benchmark::State& state) {
    RunLogger(state, LOG_LEVEL_3, 0);
}

BENCHMARK(WriteReadyBuffer)->UseRealTime();
BENCHMARK(CountedOnly)->UseRealTime();
BENCHMARK(WrittenAtOnce)->UseRealTime()->Threads(1)->Threads(2)->Threads(8);
BENCHMARK(Queued)->UseRealTime()->Threads(1)->Threads(2)->Threads(8);
BENCHMARK(KeptBack)->UseRealTime()->Threads(1)->Threads(2)->Threads(8);

}  // namespace

BENCHMARK_MAIN();
