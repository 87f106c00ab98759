#include "stream/window.h"

namespace NS_LOG_FLEET {
namespace {

// Longer than a message waits for its acknowledgement.
constexpr std::chrono::seconds kPatience{15};

}  // namespace

bool Window::AwaitRoom(size_t most) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (messages_.size() >= most && failure_.empty()) {
        const uint64_t arrived = arrived_;
        const bool goesOn = changed_.wait_for(
            lock, kPatience, [&] { return arrived_ != arrived || !failure_.empty(); });
        if (!goesOn) {
            failure_ = "nothing is acknowledged";
        }
    }
    return failure_.empty();
}

void Window::Add(const std::string& key, int64_t file, uint64_t begin) {
    const std::lock_guard<std::mutex> lock(mutex_);
    messages_[key] = {file, begin};
    if (file >= 0) {
        places_[file].insert(begin);
    }
}

void Window::Remove(const std::string& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto message = messages_.find(key);
    if (message == messages_.end()) {
        return;
    }
    if (message->second.file >= 0) {
        const auto places = places_.find(message->second.file);
        places->second.erase(places->second.find(message->second.begin));
        if (places->second.empty()) {
            places_.erase(places);
        }
    }
    messages_.erase(message);
    ++arrived_;
    changed_.notify_all();
}

void Window::Fail(const std::string& reason) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (failure_.empty()) {
        failure_ = reason;
    }
    changed_.notify_all();
}

uint64_t Window::Lowest(int64_t file, uint64_t other) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto places = places_.find(file);
    return places == places_.end() || places->second.empty() ? other : *places->second.begin();
}

std::string Window::Failure() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return failure_;
}

}  // namespace NS_LOG_FLEET
