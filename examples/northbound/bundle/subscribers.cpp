// All clients that are told of alarms.
#include "bundle/subscribers.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace NS_NORTHBOUND {

void Subscribers::Add(std::unique_ptr<Subscriber> subscriber) {
    // While no alarm comes or goes, nobody else lets go of those that have ended.
    TakeDone();
    const std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) {
        throw std::runtime_error("the agent stops");
    }
    list_.push_back(std::move(subscriber));
}

std::size_t Subscribers::Count() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return list_.size();
}

Subscribers::List Subscribers::TakeDone() {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto done = std::stable_partition(
        list_.begin(), list_.end(), [](const auto& subscriber) { return !subscriber->IsDone(); });
    List taken(std::make_move_iterator(done), std::make_move_iterator(list_.end()));
    list_.erase(done, list_.end());
    return taken;
}

void Subscribers::Tell(const Alarm& change) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& subscriber : list_) {
            subscriber->Tell(change);
        }
    }
    TakeDone();
}

void Subscribers::EndThoseOf(uint32_t session) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& subscriber : list_) {
        if (subscriber->Session() == session) {
            subscriber->End();
        }
    }
}

void Subscribers::Close() {
    List all;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
        all.swap(list_);
    }
    // All of them first, so that their last call-backs are waited for together.
    for (const auto& subscriber : all) {
        subscriber->End();
    }
}

}  // namespace NS_NORTHBOUND
