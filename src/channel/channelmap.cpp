#include "channel/channelmap.h"

#include <algorithm>
#include <utility>

#include "base/deadline.h"
#include "base/firstexception.h"

namespace NS_LOG_SERVICE1 {

const std::array<const char*, kLogCategoryCount> kLogCategories = {
    "debug",    "corbadebug", "corbanotify",         "corba_alarm",
    "corbasys", "corbaoper",  "corba_internal_oper",
};

const std::array<size_t, kLogCategoryCount> kCategoriesByName = {3, 6, 1, 2, 5, 4, 0};

namespace {

// Milliseconds.
constexpr int64_t kTimeBeforeDeath = 2000;

}  // namespace

bool IsLogCategory(const std::string& name) {
    return std::find(kLogCategories.begin(), kLogCategories.end(), name) != kLogCategories.end();
}

void ChannelMap::Create(const LogSettings& settings) {
    for (size_t i = 0; i < kLogCategoryCount; ++i) {
        const std::string category = kLogCategories[i];
        if (Find(category) != nullptr) {
            continue;
        }
        auto channel = std::make_unique<TEDebugInfoBuf>(
            category.c_str(), settings.queuebuflength, settings.filterbuflength,
            settings.logfilesize, settings.logfilecount);
        channel->LimitQueueBytes(settings.queueBytes);
        const LockGuard<Mutex> guard(mutex_);
        channel->SetFilePolicy(filePolicy_);
        created_[i].store(channel.get(), std::memory_order_release);
        channels_[category] = std::move(channel);  // Find has made the entry: nothing can fail
    }
}

TEDebugInfoBuf* ChannelMap::Find(const std::string& category) {
    for (size_t i = 0; i < kLogCategoryCount; ++i) {
        TEDebugInfoBuf* const channel = Created(i);
        if (channel != nullptr && category == kLogCategories[i]) {
            return channel;
        }
    }
    const LockGuard<Mutex> guard(mutex_);
    return channels_[category].get();
}

void ChannelMap::FlushAll() {
    const LockGuard<Mutex> guard(mutex_);
    FirstException exception;
    ForEachLocked([&exception](TEDebugInfoBuf& channel) {
        exception.Attempt([&channel] { channel.Flush(); });
    });
    exception.PassOn();
}

// A channel whose mutex is held for ever must not take the time of the others: all are tried
// before one is tried again.
void ChannelMap::WriteBeforeDeath() noexcept {
    const Deadline deadline(kTimeBeforeDeath);
    std::array<bool, kLogCategoryCount> done{};
    deadline.Await([&] {
        bool all = true;
        for (size_t i = 0; i < kLogCategoryCount && !deadline.IsOver(); ++i) {
            TEDebugInfoBuf* const channel = Created(i);
            done[i] =
                done[i] || channel == nullptr || channel->WriteBeforeDeath(lastWords_, deadline);
            all = all && done[i];
        }
        return all;
    });
}

void ChannelMap::BeforeFork() {
    mutex_.BeforeFork();
    ForEachLocked([](TEDebugInfoBuf& channel) { channel.BeforeFork(); });
}

void ChannelMap::AfterForkInParent() {
    ForEachLocked([](TEDebugInfoBuf& channel) { channel.AfterForkInParent(); });
    mutex_.AfterForkInParent();
}

void ChannelMap::AfterForkInChild() {
    ForEachLocked([](TEDebugInfoBuf& channel) { channel.AfterForkInChild(); });
    mutex_.AfterForkInChild();
}

void ChannelMap::SetFilePolicy(FilePolicy policy) {
    const LockGuard<Mutex> guard(mutex_);
    filePolicy_ = policy;
    ForEachLocked([policy](TEDebugInfoBuf& channel) { channel.SetFilePolicy(policy); });
}

void ChannelMap::Destroy() {
    for (auto& channel : created_) {
        channel.store(nullptr, std::memory_order_release);
    }
    for (auto& [category, channel] : channels_) {
        channel.reset();
    }
    channels_.clear();
}

}  // namespace NS_LOG_SERVICE1
