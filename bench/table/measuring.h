// Has the entrants of the cases measured.
#pragma once

#include <string>
#include <vector>

#include "table/results.h"

namespace NS_BENCH {

struct MeasuringOptions {
    std::string programs;  // the directory of the entrants' programs
    std::string disk;      // the directories below which the entrants write
    std::string memory;
    int rounds = 5;
    int milliseconds = 300;  // of each phase
};

// Thread safety: one thread.
class Measuring {
  public:
    explicit Measuring(MeasuringOptions options) : options_(std::move(options)) {}

    // All entrants take turns in each round, each in a fresh process and an empty directory.
    // Reports the progress, and what failed, on standard error.
    CaseResult Measure(const Case& what);

    // Whether an entrant could not be measured.
    bool HasFailed() const { return hasFailed_; }

  private:
    Metrics RunOnce(const Case& what, const Entrant& entrant) const;

    const MeasuringOptions options_;
    bool hasFailed_ = false;
};

}  // namespace NS_BENCH
