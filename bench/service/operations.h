// What an operator does while threads log.
#pragma once

#include <atomic>
#include <thread>

#include "harness/latencyhistogram.h"
#include "service/records.h"

namespace NS_BENCH {

// Subject "operator"; the threads log by LogFormat. The way names what the operator does, every
// few milliseconds on a thread of his own: "status", "flushall", and "queueoff" (queued output on
// and off again; only the latter is measured). Without one, "idle", he does nothing.
class ServiceOperator : public ServiceRecords {
  public:
    explicit ServiceOperator(const Job& job);
    ~ServiceOperator() override;

    void PrintMetrics() override;

  private:
    void Operate();
    void Act();

    const std::string way_;
    std::atomic<bool> stopped_{false};
    LatencyHistogram waits_;  // the operator's thread's until it is joined
    std::thread thread_;
};

}  // namespace NS_BENCH
