// What the stress has given to each category, and whether the service's books and files agree.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_TEST {

constexpr std::array<const char*, 7> kStressCategories = {
    "debug",    "corbadebug", "corbanotify",        "corba_alarm",
    "corbasys", "corbaoper",  "corba_internal_oper"};
// Only alarms go there: whether one is logged depends on a switch that changes meanwhile, so for
// this category the number of those that were given is an upper bound.
constexpr size_t kAlarms = 3;

// Records that were given to the channels, and dumps that were ordered. Thread safety: any thread.
class StressBooks {
  public:
    void Give(size_t category, uint64_t records = 1) { given_[category] += records; }
    void OrderDump(size_t category) { ++ordered_[category]; }

    // Returns what does not agree; empty when all does. REQUIRES: nobody logs any more, the queues
    // are written out, and the files in `directory` are closed.
    std::string Compare(const std::vector<NS_LOG_SERVICE1::ChannelStatus>& channels,
                        const std::string& directory) const;

  private:
    std::string CompareOne(size_t category, const NS_LOG_SERVICE1::ChannelStatus& status,
                           const std::string& directory) const;

    std::array<std::atomic<uint64_t>, kStressCategories.size()> given_{};
    std::array<std::atomic<uint64_t>, kStressCategories.size()> ordered_{};
};

}  // namespace NS_TEST
