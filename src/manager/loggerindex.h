// Finds loggers by their names.
#pragma once

#include <string_view>
#include <vector>

#include "logger/logger.h"

namespace NS_LOG_SERVICE1 {

// The three strings that identify a logger.
struct LoggerName {
    std::string_view first;
    std::string_view second;
    std::string_view category;

    bool operator==(const LoggerName& other) const {
        return first == other.first && second == other.second && category == other.category;
    }
};

// A hash table in one block of memory. A name is compared only when its whole hash is the same, so
// that a search among a hundred thousand loggers touches little memory: it takes half as long as in
// std::unordered_map, and so does one among ten (docs/performance.md).
//
// Thread safety: none.
class LoggerIndex {
  public:
    // Null when there is none of that name.
    Logger* Find(const LoggerName& name) const;

    // Does not own the logger. REQUIRES: none of the same name has been added. When there is no
    // memory, throws std::bad_alloc and has added nothing.
    void Add(Logger& logger);

  private:
    struct Slot {
        size_t hash = 0;
        Logger* logger = nullptr;
    };
    using Slots = std::vector<Slot>;

    static void Put(Slots& slots, const Slot& slot);

    // Their number is a power of two. At most half of them are used, so a search meets a free one.
    Slots slots_ = Slots(16);
    size_t count_ = 0;
};

}  // namespace NS_LOG_SERVICE1
