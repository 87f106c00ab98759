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
        channel->LimitQueueBytes(settings.queueBytes);
        const LockGuard<Mutex> guard(mutex_);
        channels_[category] = std::move(channel);  // Find has made the entry: nothing can fail
    }
}

TEDebugInfoBuf* ChannelMap::Find(const std::string& category) {
    const LockGuard<Mutex> guard(mutex_);
    return channels_[category].get();
}

const ChannelMap::Entry* ChannelMap::Next(const Entry* entry) {
    const LockGuard<Mutex> guard(mutex_);
    auto next = entry == nullptr ? channels_.begin() : channels_.upper_bound(entry->first);
    while (next != channels_.end() && next->second == nullptr) {
        ++next;
    }
    return next == channels_.end() ? nullptr : &*next;
}

void ChannelMap::FlushAll() {
    ForEach([](const std::string& /*category*/, TEDebugInfoBuf& channel) { channel.Flush(); });
}

void ChannelMap::BeforeFork() {
    mutex_.BeforeFork();
    ForEachLocked([](TEDebugInfoBuf& channel) { channel.BeforeFork(); });
}

void ChannelMap::AfterForkInParent() {
    ForEachLocked([](TEDebugInfoBuf& channel) { channel.AfterForkInParent(); });
    mutex_.AfterFork();
}

void ChannelMap::AfterForkInChild() {
    ForEachLocked([](TEDebugInfoBuf& channel) { channel.AfterForkInChild(); });
    mutex_.AfterFork();
}

void ChannelMap::Destroy() {
    for (auto& [category, channel] : channels_) {
        channel.reset();
    }
    channels_.clear();
}

}  // namespace NS_LOG_SERVICE1
