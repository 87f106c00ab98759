// The channels of the seven log categories.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>

#include "base/lockguard.h"
#include "base/logsettings.h"
#include "base/mutex.h"
#include "channel/channel.h"

namespace NS_LOG_SERVICE1 {

// The categories that exist, in the order in which their channels are created.
extern const std::array<const char*, 7> kLogCategories;

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

    // Writes out the queue of each channel, in the order of the names. Holds the map's mutex.
    void FlushAll() EXCLUDES(mutex_);

    // Sets the policy of all channels, also of those that Create makes later.
    void SetFilePolicy(FilePolicy policy) EXCLUDES(mutex_);
    FilePolicy Policy() EXCLUDES(mutex_);

    // Calls `visit` with the name of each channel and the channel, in the order of the names. Holds
    // the map's mutex.
    template <class Visitor>
    void ForEach(Visitor visit) EXCLUDES(mutex_) {
        const LockGuard<Mutex> guard(mutex_);
        for (const auto& [category, channel] : channels_) {
            if (channel != nullptr) {
                visit(category, *channel);
            }
        }
    }

    // Destroys the channels in the order of the names; each writes out its queue first. Unlocked:
    // the last logger has logged.
    void Destroy() NO_THREAD_SAFETY_ANALYSIS;

  private:
    Mutex mutex_;
    FilePolicy filePolicy_ GUARDED_BY(mutex_) = FilePolicy::kContract;
    std::map<std::string, std::unique_ptr<TEDebugInfoBuf>> channels_ GUARDED_BY(mutex_);
};

}  // namespace NS_LOG_SERVICE1
