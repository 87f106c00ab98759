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

// Thread safety: any thread may call any operation but Create and Destroy, which the manager calls
// before the first logger exists and after the last one has logged.
class ChannelMap {
  public:
    // Creates the channels that are not there yet, with the sizes of `settings` as they are now.
    // Unlocked: no logger exists yet that could look for its channel.
    void Create(const LogSettings& settings) NO_THREAD_SAFETY_ANALYSIS;

    // The channel of `category`. Null when there is none; the map then holds a null entry for that
    // name.
    TEDebugInfoBuf* Find(const std::string& category) EXCLUDES(mutex_);

    // Writes out the queue of each channel, in the order of the names. Holds the map's mutex.
    void FlushAll() EXCLUDES(mutex_);

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
    std::map<std::string, std::unique_ptr<TEDebugInfoBuf>> channels_ GUARDED_BY(mutex_);
};

}  // namespace NS_LOG_SERVICE1
