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
#include "channel/channel.h"

namespace NS_LOG_SERVICE1 {

// The categories that exist, in the order in which their channels are created.
constexpr size_t kLogCategoryCount = 7;
extern const std::array<const char*, kLogCategoryCount> kLogCategories;

bool IsLogCategory(const std::string& name);

// Thread safety: any thread may call any operation but Create, which one thread at a time calls,
// and Destroy, which the manager calls after the last logger has logged.
class ChannelMap {
  public:
    // Creates the channels that are not there yet, with the sizes of `settings` as they are now. A
    // channel is made without the lock: making it asks the platform, which may ask back.
    void Create(const LogSettings& settings) EXCLUDES(mutex_);

    // The channel of `category`. Null when there is none; the map then holds a null entry for that
    // name.
    TEDebugInfoBuf* Find(const std::string& category) EXCLUDES(mutex_);

    // Writes out the queue of each channel, in the order of the names. Holds the map's mutex
    // meanwhile, so that the channels stay the same; a new logger waits. To flush without the
    // mutex, call Flush in ForEach.
    void FlushAll() EXCLUDES(mutex_);

    // Sets the policy of all channels, also of those that Create makes later. Waits for writes that
    // go on, and a new logger waits meanwhile.
    void SetFilePolicy(FilePolicy policy) EXCLUDES(mutex_);
    FilePolicy Policy() EXCLUDES(mutex_);

    // Calls `visit` with the name of each channel and the channel, in the order of the names.
    // Without the map's mutex: a visitor may write to a slow disk, and a new logger, which looks
    // for its channel here, must not wait for that.
    template <class Visitor>
    void ForEach(Visitor visit) EXCLUDES(mutex_) {
        for (const Entry* entry = Next(nullptr); entry != nullptr; entry = Next(entry)) {
            visit(entry->first, *entry->second);
        }
    }

    // Calls `visit` with each channel, in the order of their creation. Waits for no lock.
    template <class Visitor>
    void ForEachWithoutWaiting(Visitor visit) const {
        for (const auto& created : created_) {
            if (TEDebugInfoBuf* const channel = created.load(std::memory_order_acquire)) {
                visit(*channel);
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
    using Entries = std::map<std::string, std::unique_ptr<TEDebugInfoBuf>>;
    using Entry = Entries::value_type;

    template <class Action>
    void ForEachLocked(Action action) REQUIRES(mutex_) {
        for (const auto& [category, channel] : channels_) {
            if (channel != nullptr) {
                action(*channel);
            }
        }
    }

    // The next entry after `entry` that has a channel; given null, the first one. Null: no more.
    // Entries stay where they are, and with a channel they do not change, until Destroy.
    const Entry* Next(const Entry* entry) EXCLUDES(mutex_);

    Mutex mutex_;
    FilePolicy filePolicy_ GUARDED_BY(mutex_) = FilePolicy::kContract;
    Entries channels_ GUARDED_BY(mutex_);
    // The same channels, to be found without the mutex.
    std::array<std::atomic<TEDebugInfoBuf*>, kLogCategoryCount> created_{};
    LastWords lastWords_;
};

}  // namespace NS_LOG_SERVICE1
