#include "service/operations.h"

#include <chrono>
#include <stdexcept>
#include <vector>

namespace NS_BENCH {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPause{5};

// The threads log as in direct output, until the operator has output queued.
Job ThreadsJob(Job job) {
    job.subject = "direct";
    job.way = "LogFormat";
    return job;
}

}  // namespace

ServiceOperator::ServiceOperator(const Job& job) : ServiceRecords(ThreadsJob(job)), way_(job.way) {
    if (way_ != "idle" && way_ != "status" && way_ != "flushall" && way_ != "queueoff") {
        throw std::invalid_argument("no way " + way_);
    }
    if (way_ == "flushall") {
        Bundle().Maintenance().SetQueuedOutput(true);
    }
    thread_ = std::thread([this] { Operate(); });
}

ServiceOperator::~ServiceOperator() {
    stopped_.store(true);
    if (thread_.joinable()) {
        thread_.join();
    }
}

void ServiceOperator::Operate() {
    while (!stopped_.load()) {
        if (way_ == "queueoff") {
            Bundle().Maintenance().SetQueuedOutput(true);
        }
        std::this_thread::sleep_for(kPause);
        const auto begin = Clock::now();
        Act();
        waits_.Add(static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - begin).count()));
    }
}

void ServiceOperator::Act() {
    if (way_ == "status") {
        std::vector<NS_LOG_SERVICE1::ChannelStatus> channels;
        Bundle().Maintenance().GetChannels(channels);
    } else if (way_ == "flushall") {
        Bundle().Maintenance().OutputAll("");
    } else if (way_ == "queueoff") {
        Bundle().Maintenance().SetQueuedOutput(false);
    }
}

void ServiceOperator::PrintMetrics() {
    stopped_.store(true);
    thread_.join();
    if (way_ != "idle") {
        PrintMetric("wait", waits_.Percentile(0.5));
        PrintMetric("waitmax", waits_.Most());
    }
}

}  // namespace NS_BENCH
