// The channels of the seven log categories.
#pragma once

#include <ace/Thread_Mutex.h>

#include <array>
#include <map>
#include <memory>
#include <string>

#include "base/logsettings.h"
#include "channel/channel.h"

namespace NS_LOG_SERVICE1 {

// The categories that exist, in the order in which their channels are created.
extern const std::array<const char*, 7> kLogCategories;

bool IsLogCategory(const std::string& name);

// Thread safety: any thread may call any operation but Create, which one thread at a time calls,
// and Destroy, which the manager calls after the last logger has logged.
class ChannelMap {
  public:
    // Creates the channels that are not there yet, with the sizes of `settings` as they are now.
    void Create(const LogSettings& settings);

    // The channel of `category`; null where there is none, which is remembered under the name.
    TEDebugInfoBuf* Find(const std::string& category);

    // Writes out the queue of each channel, one after the other in the order of the names, while
    // the map's mutex is held.
    void FlushAll();

    // Calls `visit` with the name of each channel and the channel, in the order of the names, while
    // the map's mutex is held.
    template <class Visitor>
    void ForEach(Visitor visit) {
        const LockGuard<ACE_Thread_Mutex> guard(mutex_);
        for (const auto& [category, channel] : channels_) {
            if (channel != nullptr) {
                visit(category, *channel);
            }
        }
    }

    // Destroys the channels in the order of the names; each writes out its queue first.
    void Destroy();

  private:
    ACE_Thread_Mutex mutex_;
    std::map<std::string, std::unique_ptr<TEDebugInfoBuf>> channels_;  // guarded by mutex_
};

}  // namespace NS_LOG_SERVICE1
