// Counting records.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "format/stamp.h"

namespace NS_LOG_READER {

// How often each of many texts came. Keeps a bounded number of them: when there are too many, those
// that came least are forgotten, and the rest are counts of at least so many.
class Tally {
  public:
    void Count(std::string_view text);

    // The most frequent ones, equal ones by their text.
    std::vector<std::pair<std::string, uint64_t>> Top(size_t count) const;

    bool IsExact() const { return isExact_; }
    size_t Different() const { return counts_.size(); }

  private:
    void ForgetTheRarest();

    std::unordered_map<std::string, uint64_t> counts_;
    std::string key_;
    bool isExact_ = true;
};

// How many records there were over time, in at most kBins spans of equal length, which grow with
// the range.
class Histogram {
  public:
    static constexpr size_t kBins = 48;

    struct Bin {
        uint64_t all = 0;
        uint64_t errors = 0;  // of level 0
    };

    void Count(Time time, bool isError);

    Time Begin() const { return begin_; }
    Time Width() const { return width_; }
    // Up to the last that is not empty.
    std::vector<Bin> Bins() const;

  private:
    void Widen();

    std::vector<Bin> bins_ = std::vector<Bin>(kBins);
    Time begin_ = 0;
    Time width_ = 0;  // 0: nothing was counted
};

}  // namespace NS_LOG_READER
