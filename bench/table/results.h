// What was measured.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "table/case.h"
#include "table/program.h"

namespace NS_BENCH {

// The rounds of one metric, put together.
struct Summary {
    double median = 0;
    double least = 0;
    double most = 0;
};

// One entrant's rounds.
class EntrantResult {
  public:
    explicit EntrantResult(Entrant entrant) : entrant_(std::move(entrant)) {}

    const Entrant& Who() const { return entrant_; }
    void Add(const Metrics& metrics);
    // Empty when it was not measured.
    std::optional<Summary> Find(const std::string& name) const;
    // All metrics.
    std::map<std::string, Summary> Summaries() const;

  private:
    Entrant entrant_;
    std::map<std::string, std::vector<double>> rounds_;
};

// One case. The ratios are of medians.
struct CaseResult {
    Case what;
    std::vector<EntrantResult> entrants;

    // How many times as long as the first floor, or as the quickest peer, an entrant takes; empty
    // where there is none.
    std::optional<double> RatioToFloor(const EntrantResult& entrant) const;
    std::optional<double> RatioToBestPeer(const EntrantResult& entrant) const;

  private:
    std::optional<double> Value(const EntrantResult& entrant) const;
};

}  // namespace NS_BENCH
