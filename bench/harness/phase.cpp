#include "harness/phase.h"

#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace NS_BENCH {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBurst = 64;
constexpr std::chrono::milliseconds kRest{1};

uint64_t NanosecondsSince(Clock::time_point begin) {
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - begin).count());
}

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// One recording thread. Each has cache lines of its own.
class alignas(128) Recorder {
  public:
    Recorder(Contender& contender, Timing timing, int category)
        : contender_(contender), timing_(timing), category_(category) {}

    void Run(const std::atomic<bool>& started, const std::atomic<bool>& stopped) {
        contender_.EnterThread();
        ready_.store(true);
        while (!started.load()) {
            std::this_thread::yield();
        }
        if (timing_ == Timing::kNone) {
            RecordUntil(stopped);
        } else {
            RecordTimedUntil(stopped);
        }
    }

    bool IsReady() const { return ready_.load(); }
    uint64_t Count() const { return static_cast<uint64_t>(number_); }
    const LatencyHistogram& Calls() const { return calls_; }

  private:
    void RecordUntil(const std::atomic<bool>& stopped) {
        while (!stopped.load(std::memory_order_relaxed)) {
            contender_.Record(category_, number_++);
        }
    }

    void RecordTimedUntil(const std::atomic<bool>& stopped) {
        while (!stopped.load(std::memory_order_relaxed)) {
            if (timing_ == Timing::kPrepared) {
                contender_.Prepare();
            }
            const auto begin = Clock::now();
            contender_.Record(category_, number_++);
            calls_.Add(NanosecondsSince(begin));
            if (timing_ == Timing::kPaced && number_ % kBurst == 0) {
                std::this_thread::sleep_for(kRest);
            }
        }
    }

    Contender& contender_;
    const Timing timing_;
    const int category_;
    int number_ = 0;
    std::atomic<bool> ready_{false};
    LatencyHistogram calls_;
};

std::vector<std::unique_ptr<Recorder>> MakeRecorders(const Job& job, Contender& contender,
                                                     Timing timing) {
    std::vector<std::unique_ptr<Recorder>> recorders;
    for (int i = 0; i < job.threads; ++i) {
        recorders.push_back(std::make_unique<Recorder>(contender, timing, i % job.categories));
    }
    return recorders;
}

}  // namespace

PhaseResult RunPhase(const Job& job, Contender& contender, Timing timing) {
    const auto recorders = MakeRecorders(job, contender, timing);
    std::atomic<bool> started{false};
    std::atomic<bool> stopped{false};
    contender.Begin();
    std::vector<std::thread> threads;
    for (const auto& recorder : recorders) {
        threads.emplace_back([&] { recorder->Run(started, stopped); });
    }
    for (const auto& recorder : recorders) {
        while (!recorder->IsReady()) {
            std::this_thread::yield();
        }
    }
    const double cpuBefore = CpuSeconds();
    const auto begin = Clock::now();
    started.store(true);
    std::this_thread::sleep_for(job.duration);
    stopped.store(true);
    PhaseResult result;
    for (size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        result.records += recorders[i]->Count();
        result.calls.Add(recorders[i]->Calls());
    }
    contender.Drain();
    result.seconds = static_cast<double>(NanosecondsSince(begin)) / 1e9;
    result.cpuSeconds = CpuSeconds() - cpuBefore;
    return result;
}

}  // namespace NS_BENCH
