// The messages that wait in the stream of a shard for a newer collector.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>

namespace NS_LOG_FLEET {

// One host whose shipper is newer than the collectors must not keep them from the others' records.
// So its messages are put off, and come again. But each counts among those that the stream hands
// out before it waits for answers: a limit keeps room for the others.
//
// Thread safety: all operations. The collectors of a shard share one.
class NewerMessages {
  public:
    // A quarter of what the stream hands out.
    static constexpr size_t kMost = 1024;

    enum class Answer {
        kReport,  // the first of its subject
        kPutOff,
        kTooMany
    };

    // What is to be done with the message, which may have come before.
    Answer Add(uint64_t sequence, const std::string& subject) {
        const std::lock_guard<std::mutex> guard(mutex_);
        if (sequences_.count(sequence) == 0 && sequences_.size() == kMost) {
            return Answer::kTooMany;
        }
        sequences_.insert(sequence);
        return subjects_.insert(subject).second ? Answer::kReport : Answer::kPutOff;
    }

  private:
    std::mutex mutex_;
    std::set<uint64_t> sequences_;    // guarded by mutex_; their places in the stream
    std::set<std::string> subjects_;  // guarded by mutex_
};

}  // namespace NS_LOG_FLEET
