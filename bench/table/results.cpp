#include "table/results.h"

#include <algorithm>

namespace NS_BENCH {

namespace {

Summary Summarise(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    const double median =
        values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    return {median, values.front(), values.back()};
}

}  // namespace

void EntrantResult::Add(const Metrics& metrics) {
    for (const auto& [name, value] : metrics) {
        rounds_[name].push_back(value);
    }
}

std::optional<Summary> EntrantResult::Find(const std::string& name) const {
    const auto found = rounds_.find(name);
    return found == rounds_.end() ? std::nullopt : std::optional(Summarise(found->second));
}

std::map<std::string, Summary> EntrantResult::Summaries() const {
    std::map<std::string, Summary> summaries;
    for (const auto& [name, values] : rounds_) {
        summaries[name] = Summarise(values);
    }
    return summaries;
}

std::optional<double> CaseResult::Value(const EntrantResult& entrant) const {
    const std::optional<Summary> summary = entrant.Find(what.metric);
    return summary && summary->median > 0 ? std::optional(summary->median) : std::nullopt;
}

std::optional<double> CaseResult::RatioToFloor(const EntrantResult& entrant) const {
    for (const EntrantResult& floor : entrants) {
        if (floor.Who().role == Role::kFloor && Value(floor) && Value(entrant)) {
            return *Value(entrant) / *Value(floor);
        }
    }
    return std::nullopt;
}

std::optional<double> CaseResult::RatioToBestPeer(const EntrantResult& entrant) const {
    std::optional<double> best;
    for (const EntrantResult& peer : entrants) {
        if (peer.Who().role == Role::kPeer && Value(peer)) {
            best = std::min(best.value_or(*Value(peer)), *Value(peer));
        }
    }
    return best && Value(entrant) ? std::optional(*Value(entrant) / *best) : std::nullopt;
}

}  // namespace NS_BENCH
