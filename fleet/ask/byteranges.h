// Parts of a file.
#pragma once

#include <cstdint>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace NS_LOG_FLEET {

// A set of bytes. A value.
class ByteRanges {
  public:
    using Range = std::pair<uint64_t, uint64_t>;  // the first byte, and the one behind the last

    void Add(Range added) {
        if (added.first >= added.second) {
            return;
        }
        auto next = ranges_.upper_bound(added.first);
        if (next != ranges_.begin() && std::prev(next)->second >= added.first) {
            --next;
        }
        while (next != ranges_.end() && next->first <= added.second) {
            added.first = added.first < next->first ? added.first : next->first;
            added.second = added.second > next->second ? added.second : next->second;
            next = ranges_.erase(next);
        }
        ranges_.insert(added);
    }

    // What of the range is not in the set, in the order of the bytes.
    std::vector<Range> MissingIn(Range asked) const {
        std::vector<Range> missing;
        for (const auto& [first, behind] : ranges_) {
            if (behind > asked.first && first < asked.second) {
                if (first > asked.first) {
                    missing.emplace_back(asked.first, first);
                }
                asked.first = behind;
            }
        }
        if (asked.first < asked.second) {
            missing.push_back(asked);
        }
        return missing;
    }

    // In the order of the bytes.
    const std::map<uint64_t, uint64_t>& All() const { return ranges_; }

  private:
    std::map<uint64_t, uint64_t> ranges_;
};

}  // namespace NS_LOG_FLEET
