// The channels of the seven log categories.
#pragma once

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <string>

#include "base/lockguard.h"
#include "base/logsettings.h"
#include "base/mutex.h"
#include "base/relaxedatomic.h"
#include "channel/channel.h"

namespace NS_LOG_SERVICE1 {

// The categories that exist, in the order in which their channels are created.
constexpr size_t kLogCategoryCount = 7;
extern const std::array<const char*, kLogCategoryCount> kLogCategories;

// Their places in kLogCategories, in the order of the names.
extern const std::array<size_t, kLogCategoryCount> kCategoriesByName;

bool IsLogCategory(const std::string& name);

// Thread safety: any thread may call any operation but Create, which one thread at a time calls,
// and Destroy, which the manager calls after the last logger has logged.
class ChannelMap {
  public:
    // Creates the channels that are not there yet, with the sizes of `settings` as they are now. A
    // channel is made without the lock: making it asks the platform, which may ask back.
    void Create(const LogSettings& settings) EXCLUDES(mutex_);

    // The channel of `category`. Null when there is none; the map then holds a null entry for that
    // name. A channel that exists is found without the map's mutex, which FlushAll holds while a
    // slow disk takes the records: a new logger looks for its channel here.
    TEDebugInfoBuf* Find(const std::string& category) EXCLUDES(mutex_);

    // Writes out the queue of each channel, in the order of the names. Holds the map's mutex
    // meanwhile; who only looks for a channel does not wait for it. To flush without the mutex,
    // call Flush in ForEach. An exception of one channel comes out when all have been written.
    void FlushAll() EXCLUDES(mutex_);

    // Sets the policy of all channels, also of those that Create makes later. Waits for writes that
    // go on.
    void SetFilePolicy(FilePolicy policy) EXCLUDES(mutex_);
    FilePolicy Policy() const { return filePolicy_; }

    // Calls `visit` with the name of each channel and the channel, in the order of the names.
    // Without the map's mutex: a visitor may write to a slow disk, and whoever asks for the
    // statistics must not wait for a disk at all.
    template <class Visitor>
    void ForEach(Visitor visit) const {
        for (const size_t category : kCategoriesByName) {
            if (TEDebugInfoBuf* const channel = Created(category)) {
                visit(kLogCategories[category], *channel);
            }
        }
    }

    // For a process that dies: writes out the queues of the channels whose files are open. Takes
    // two seconds at most, unless a write takes longer. Allocates nothing. Leaves out a channel
    // whose mutexes do not become free. Other threads may go on logging. REQUIRES: one thread at a
    // time.
    void WriteBeforeDeath() noexcept;

    // Around a fork: the map's mutex and those of all channels are held meanwhile.
    void BeforeFork() NO_THREAD_SAFETY_ANALYSIS;
    void AfterForkInParent() NO_THREAD_SAFETY_ANALYSIS;
    void AfterForkInChild() NO_THREAD_SAFETY_ANALYSIS;

    // Destroys the channels in the order of the names; each writes out its queue first. Unlocked:
    // the last logger has logged.
    void Destroy() NO_THREAD_SAFETY_ANALYSIS;

  private:
    template <class Action>
    void ForEachLocked(Action action) REQUIRES(mutex_) {
        for (const auto& [category, channel] : channels_) {
            if (channel != nullptr) {
                action(*channel);
            }
        }
    }

    // Null until Create has made it.
    TEDebugInfoBuf* Created(size_t category) const {
        return created_[category].load(std::memory_order_acquire);
    }

    Mutex mutex_;
    // Changed under mutex_, read without it.
    RelaxedAtomic<FilePolicy> filePolicy_{FilePolicy::kContract};
    std::map<std::string, std::unique_ptr<TEDebugInfoBuf>> channels_ GUARDED_BY(mutex_);
    // The same channels, to be found without the mutex.
    std::array<std::atomic<TEDebugInfoBuf*>, kLogCategoryCount> created_{};
    LastWords lastWords_;
};

}  // namespace NS_LOG_SERVICE1
