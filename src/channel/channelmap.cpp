#include "channel/channelmap.h"

#include <algorithm>
#include <utility>

namespace NS_LOG_SERVICE1 {

const std::array<const char*, 7> kLogCategories = {
    "debug",    "corbadebug", "corbanotify",         "corba_alarm",
    "corbasys", "corbaoper",  "corba_internal_oper",
};

bool IsLogCategory(const std::string& name) {
    return std::find(kLogCategories.begin(), kLogCategories.end(), name) != kLogCategories.end();
}

void ChannelMap::Create(const LogSettings& settings) {
    for (const std::string category : kLogCategories) {
        if (Find(category) != nullptr) {
            continue;
        }
        auto channel = std::make_unique<TEDebugInfoBuf>(
            category.c_str(), settings.queuebuflength, settings.filterbuflength,
            settings.logfilesize, settings.logfilecount);
        const LockGuard<Mutex> guard(mutex_);
        channel->SetFilePolicy(filePolicy_);
        channels_[category] = std::move(channel);  // Find has made the entry: nothing can fail
    }
}

TEDebugInfoBuf* ChannelMap::Find(const std::string& category) {
    const LockGuard<Mutex> guard(mutex_);
    return channels_[category].get();
}

void ChannelMap::FlushAll() {
    ForEach([](const std::string& /*category*/, TEDebugInfoBuf& channel) { channel.Flush(); });
}

void ChannelMap::SetFilePolicy(FilePolicy policy) {
    const LockGuard<Mutex> guard(mutex_);
    filePolicy_ = policy;
    for (const auto& [category, channel] : channels_) {
        if (channel != nullptr) {
            channel->SetFilePolicy(policy);
        }
    }
}

FilePolicy ChannelMap::Policy() {
    const LockGuard<Mutex> guard(mutex_);
    return filePolicy_;
}

void ChannelMap::Destroy() {
    for (auto& [category, channel] : channels_) {
        channel.reset();
    }
    channels_.clear();
}

}  // namespace NS_LOG_SERVICE1
