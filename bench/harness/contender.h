// A logger, or floor, that is measured.
#pragma once

#include <memory>

#include "harness/job.h"

namespace NS_BENCH {

// Each program defines one kind of contender and is otherwise the same. Begin and Drain are called
// while no thread records; Record by all threads at once.
class Contender {
  public:
    Contender() = default;
    virtual ~Contender() = default;

    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;

    // Before each phase, unmeasured.
    virtual void Begin() {}

    // At the start of each thread, on it: sets what its records say of its operation.
    virtual void EnterThread() {}

    // Before each call of Record in the subjects that have one prepared, unmeasured.
    virtual void Prepare() {}

    // What is measured: one record of a category, or what else the subject names.
    virtual void Record(int category, int number) = 0;

    // Returns when all that was recorded has reached the kernel. The time counts.
    virtual void Drain() {}

    // Metrics of its own, at the end.
    virtual void PrintMetrics() {}
};

// The contender of this program. Throws std::invalid_argument for a subject or a way that it does
// not have.
std::unique_ptr<Contender> MakeContender(const Job& job);

// Hands a metric to whoever has started this process.
void PrintMetric(const char* name, double value);

}  // namespace NS_BENCH
