// Some threads that record for a while.
#pragma once

#include <cstdint>

#include "harness/contender.h"
#include "harness/latencyhistogram.h"

namespace NS_BENCH {

enum class Timing {
    kNone,      // nothing but the calls
    kEachCall,  // the time of each call is taken
    kPaced,     // the same, with a rest of 1 ms after each 64 calls
    kPrepared   // each call is prepared first, which is not in its time
};

struct PhaseResult {
    uint64_t records = 0;
    double seconds = 0;     // until all was drained
    double cpuSeconds = 0;  // of the process, in the same time
    LatencyHistogram calls;
};

// Has job.threads threads record for job.duration, and drains.
PhaseResult RunPhase(const Job& job, Contender& contender, Timing timing);

}  // namespace NS_BENCH
