#include "service/memory.h"

#include <malloc.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "harness/sample.h"

namespace NS_BENCH {

namespace {

double HeapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

// The records as the subject "kept" or "queued" makes them.
Job RecordsJob(Job job) {
    if (job.way != "queued" && job.way != "kept") {
        throw std::invalid_argument("no way " + job.way);
    }
    job.subject = job.way;
    job.way = "LogFormat";
    return job;
}

}  // namespace

ServiceMemory::ServiceMemory(const Job& job) {
    ServiceRecords records(RecordsJob(job));
    const int count = (job.way == "queued" ? kQueueLength : kKeptLength) - 1;
    records.EnterThread();
    // What is made once, for the thread and for formatting, is none of the records' memory.
    records.Record(1, 0);
    const double before = HeapInUse();
    for (int i = 0; i < count; ++i) {
        records.Record(0, i);
    }
    bytesPerRecord_ = (HeapInUse() - before) / count;
    records.Drain();
}

void ServiceMemory::Record(int /*category*/, int /*number*/) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void ServiceMemory::PrintMetrics() {
    PrintMetric("memory", bytesPerRecord_);
}

}  // namespace NS_BENCH
