// What is on its way into a stream.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace NS_LOG_FLEET {

// A message has a key, and a file and a place in it, or -1 for none.
//
// Thread safety: all operations.
class Window {
  public:
    // Waits until fewer than `most` messages are on their way. False: one has failed, or none has
    // arrived for a while.
    bool AwaitRoom(size_t most);

    // The message goes off.
    void Add(const std::string& key, int64_t file, uint64_t begin);

    // It has arrived.
    void Remove(const std::string& key);

    // It has not, or nobody knows. The first reason is kept.
    void Fail(const std::string& reason);

    // The lowest place of the file that is on its way; `other` when none is.
    uint64_t Lowest(int64_t file, uint64_t other) const;

    std::string Failure() const;

  private:
    struct Place {
        int64_t file = -1;
        uint64_t begin = 0;
    };

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, Place> messages_;
    std::map<int64_t, std::multiset<uint64_t>> places_;
    uint64_t arrived_ = 0;  // so many so far
    std::string failure_;
};

}  // namespace NS_LOG_FLEET
