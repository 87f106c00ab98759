// What a store has taken of what came through the streams.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "stream/message.h"

namespace NS_LOG_FLEET {

// How many messages of a kind: pieces of files, whole ones or chunks; marks; and states of hosts.
// They go to different tables, so that a store which takes the one may refuse the other.
//
// Thread safety: all operations.
class TakenCounts {
  public:
    void Add(MessageType type) { ++counts_[KindOf(type)]; }
    uint64_t Of(MessageType type) const { return counts_[KindOf(type)]; }
    bool HasAny() const { return counts_[0] + counts_[1] + counts_[2] > 0; }

  private:
    static size_t KindOf(MessageType type) {
        return type == MessageType::Mark ? 1 : type == MessageType::Host ? 2 : 0;
    }

    std::array<std::atomic<uint64_t>, 3> counts_{};
};

}  // namespace NS_LOG_FLEET
