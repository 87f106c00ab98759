// The main program of every contender: warms up, measures, and prints one metric a line.
#include <cstdio>
#include <exception>
#include <filesystem>

#include "harness/contender.h"
#include "harness/phase.h"

namespace NS_BENCH {

void PrintMetric(const char* name, double value) {
    std::printf("%s %.17g\n", name, value);
}

namespace {

// What lies in the directory, in all files, without the space that was set aside beyond their end.
double BytesBelow(const std::string& directory) {
    double bytes = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file() && !entry.is_symlink()) {
            bytes += static_cast<double>(entry.file_size());
        }
    }
    return bytes;
}

void PrintCalls(const LatencyHistogram& calls) {
    PrintMetric("p50", calls.Percentile(0.5));
    PrintMetric("p99", calls.Percentile(0.99));
    PrintMetric("p999", calls.Percentile(0.999));
    PrintMetric("max", calls.Most());
}

Timing TimingOf(const Job& job) {
    if (job.subject == "paced") {
        return Timing::kPaced;
    }
    return job.subject == "dump" ? Timing::kPrepared : Timing::kEachCall;
}

// How long one thread takes for one call, as it sees it; for what is drained behind the calls, how
// long it takes until one more record is drained.
double TimePerCall(const Job& job, const PhaseResult& result) {
    const double threads = job.subject == "queued" ? 1 : job.threads;
    return result.seconds * 1e9 * threads / static_cast<double>(result.records);
}

void MeasureThroughput(const Job& job, Contender& contender) {
    const double bytesBefore = BytesBelow(job.directory);
    const PhaseResult result = RunPhase(job, contender, Timing::kNone);
    const auto records = static_cast<double>(result.records);
    PrintMetric("ns", TimePerCall(job, result));
    PrintMetric("rate", records / result.seconds);
    PrintMetric("cpu", result.cpuSeconds * 1e9 / records);
    if (job.subject == "direct" || job.subject == "queued") {
        PrintMetric("bytes", (BytesBelow(job.directory) - bytesBefore) / records);
    }
}

// The calls alone take so short a time here that their number says nothing.
void MeasureTimedOnly(const Job& job, Contender& contender, Timing timing) {
    const PhaseResult result = RunPhase(job, contender, timing);
    PrintMetric("ns", result.calls.Mean());
    PrintMetric("rate", static_cast<double>(result.records) / result.seconds);
    PrintMetric("cpu", result.cpuSeconds * 1e9 / static_cast<double>(result.records));
    PrintCalls(result.calls);
}

void Measure(const Job& job) {
    const std::unique_ptr<Contender> contender = MakeContender(job);
    const Timing timing = TimingOf(job);
    Job warmUp = job;
    warmUp.duration = job.duration / 4;
    RunPhase(warmUp, *contender, timing == Timing::kEachCall ? Timing::kNone : timing);
    if (timing == Timing::kEachCall) {
        MeasureThroughput(job, *contender);
        PrintCalls(RunPhase(job, *contender, timing).calls);
    } else {
        MeasureTimedOnly(job, *contender, timing);
    }
    contender->PrintMetrics();
}

}  // namespace

}  // namespace NS_BENCH

int main(int argc, char** argv) {
    try {
        NS_BENCH::Measure(NS_BENCH::ReadJob(argc, argv));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
