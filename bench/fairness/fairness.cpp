// Eight threads log without a pause while eight operators give every command that there is. How
// long does a command take at most, and how long stands a thread still at most?
//     qv_bench_fairness DIRECTORY [SECONDS]
// Beside them one thread only looks at the clock. Where it stands still, the machine is busy with
// other threads: more of them run than there are processors, and each waits for its turn.
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include "harness/latencyhistogram.h"
#include "harness/sample.h"
#include "qv_base_log/loglevel.h"
#include "service/servicebundle.h"

namespace NS_BENCH {

namespace {

using namespace NS_LOG_SERVICE1;
using Clock = std::chrono::steady_clock;

constexpr unsigned kThreads = 8;
constexpr unsigned kOperators = 8;
constexpr const char* kBusyCategories[] = {"debug", "corbaoper", "corbasys", "corbanotify"};

// How long calls of one kind took. Thread safety: one thread.
class Durations {
  public:
    template <class Action>
    void Measure(const Action& action) {
        const Clock::time_point begin = Clock::now();
        action();
        const auto lasted = std::chrono::nanoseconds(Clock::now() - begin);
        histogram_.Add(static_cast<uint64_t>(lasted.count()));
    }
    void Add(const Durations& other) { histogram_.Add(other.histogram_); }
    void Print(const char* name) const {
        std::printf("  %-20s %9llu times, 99.9 %% within %8.3f ms, at most %8.3f ms\n", name,
                    static_cast<unsigned long long>(histogram_.Count()),
                    histogram_.Percentile(0.999) / kMillisecond, histogram_.Most() / kMillisecond);
    }

  private:
    static constexpr double kMillisecond = 1e6;

    LatencyHistogram histogram_;
};

std::string CategoryOf(unsigned turn) {
    return kBusyCategories[turn % std::size(kBusyCategories)];
}

struct Command {
    const char* name;
    void (*give)(LogMaintenanceInterface& maintenance, LogSvcInterface& log, unsigned turn);
};

// Every command of the control program, by what it asks of the service.
constexpr Command kCommands[] = {
    {"status, health",
     [](LogMaintenanceInterface& maintenance, LogSvcInterface&, unsigned) {
         std::vector<ChannelBooks> books;
         maintenance.GetChannelBooks(books);
         maintenance.GetSwitches();
         maintenance.GetOutputMode();
         maintenance.HasPeriodicOutput();
     }},
    {"flush", [](LogMaintenanceInterface& maintenance, LogSvcInterface&,
                 unsigned) { maintenance.FlushAll(); }},
    {"flushall", [](LogMaintenanceInterface& maintenance, LogSvcInterface&,
                    unsigned turn) { maintenance.OutputAll(CategoryOf(turn)); }},
    {"reopen", [](LogMaintenanceInterface& maintenance, LogSvcInterface&,
                  unsigned) { maintenance.Reopen(""); }},
    {"rotate", [](LogMaintenanceInterface& maintenance, LogSvcInterface&,
                  unsigned turn) { maintenance.Rotate(CategoryOf(turn)); }},
    {"queue", [](LogMaintenanceInterface& maintenance, LogSvcInterface&,
                 unsigned turn) { maintenance.SetQueuedOutput(turn % 2 == 0); }},
    {"mode", [](LogMaintenanceInterface&, LogSvcInterface& log,
                unsigned turn) { log.SetOutputMode(turn % 2); }},
    {"loggers",
     [](LogMaintenanceInterface& maintenance, LogSvcInterface&, unsigned) {
         std::vector<LoggerStatus> loggers;
         maintenance.GetLoggers(loggers);
     }},
    {"level", [](LogMaintenanceInterface& maintenance, LogSvcInterface&,
                 unsigned turn) { maintenance.SetLevel(LOG_LEVEL_3, turn % 2 == 0); }},
    {"modules",
     [](LogMaintenanceInterface& maintenance, LogSvcInterface&, unsigned) {
         std::vector<ModuleStatus> modules;
         maintenance.GetModules(modules);
     }},
    {"module", [](LogMaintenanceInterface&, LogSvcInterface& log,
                  unsigned turn) { log.SetModuleSwitch(turn % 8, turn % 2 == 0); }},
};

// What all threads have measured.
struct Figures {
    std::array<Durations, std::size(kCommands)> commands;
    Durations records;   // written or queued
    Durations keptBack;  // their level is off, now and then
    Durations dumps;     // of level 0
    Durations idle;
    void Add(const Figures& other) {
        for (size_t i = 0; i < commands.size(); ++i) {
            commands[i].Add(other.commands[i]);
        }
        records.Add(other.records);
        keptBack.Add(other.keptBack);
        dumps.Add(other.dumps);
        idle.Add(other.idle);
    }
};

void LogWithoutPause(LogSvcInterface& log, unsigned number, const std::atomic<bool>& stops,
                     Figures& figures) {
    EnterSampleOperation();
    LoggerIF& logger = *log.GetLogger("fairness", std::to_string(number), CategoryOf(number));
    const std::string file = kFile;
    const std::string function = kFunction;
    const std::string text = kReadyText;
    for (int i = 0; !stops; ++i) {
        if (i % 1000 == 0) {
            figures.dumps.Measure([&] { logger.Log(file, function, kLine, LOG_LEVEL_0, text); });
        } else if (i % 4 == 0) {
            figures.keptBack.Measure([&] { logger.Log(file, function, kLine, LOG_LEVEL_3, text); });
        } else {
            figures.records.Measure([&] { logger.Log(file, function, kLine, LOG_LEVEL_1, text); });
        }
    }
}

void GiveCommands(const ServiceBundle& bundle, unsigned number, const std::atomic<bool>& stops,
                  Figures& figures) {
    for (unsigned turn = number; !stops; ++turn) {
        const size_t command = turn % std::size(kCommands);
        figures.commands[command].Measure(
            [&] { kCommands[command].give(bundle.Maintenance(), bundle.Log(), turn); });
    }
}

void WatchTheMachine(const std::atomic<bool>& stops, Figures& figures) {
    while (!stops) {
        figures.idle.Measure([] {});
    }
}

Figures MeasureAll(const ServiceBundle& bundle, int seconds) {
    std::vector<Figures> figures(kThreads + kOperators + 1);
    std::vector<std::thread> threads;
    std::atomic<bool> stops{false};
    for (unsigned i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] { LogWithoutPause(bundle.Log(), i, stops, figures[i]); });
    }
    for (unsigned i = 0; i < kOperators; ++i) {
        threads.emplace_back([&, i] { GiveCommands(bundle, i, stops, figures[kThreads + i]); });
    }
    threads.emplace_back([&] { WatchTheMachine(stops, figures.back()); });
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    stops = true;
    Figures all;
    for (size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        all.Add(figures[i]);
    }
    return all;
}

void Print(const Figures& figures) {
    for (size_t i = 0; i < std::size(kCommands); ++i) {
        figures.commands[i].Print(kCommands[i].name);
    }
    figures.records.Print("a record of level 1");
    figures.keptBack.Print("a record of level 3");
    figures.dumps.Print("a record of level 0");
    figures.idle.Print("a look at the clock");
}

}  // namespace

}  // namespace NS_BENCH

int main(int argc, char** argv) {
    using namespace NS_BENCH;
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY [SECONDS]\n", argv[0]);
        return 2;
    }
    try {
        const ServiceBundle bundle(argv[1], "");
        bundle.Maintenance().SetFilePolicy(NS_LOG_SERVICE1::LOG_FILE_POLICY_KEEP_RECORDS);
        const Figures figures = MeasureAll(bundle, argc > 2 ? std::atoi(argv[2]) : 5);
        std::printf("%u threads log without a pause, %u operators give commands:\n", kThreads,
                    kOperators);
        Print(figures);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qv_bench_fairness: %s\n", error.what());
        return 1;
    }
}
