// All clients that are told of alarms.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "bundle/subscriber.h"

namespace NS_NORTHBOUND {

// Thread safety: any thread may call any operation.
class Subscribers {
  public:
    // Takes it over. Throws std::runtime_error after Close.
    void Add(std::unique_ptr<Subscriber> subscriber);

    // How many it holds.
    std::size_t Count() const;

    // Tells everybody, without waiting for an answer.
    void Tell(const Alarm& change);

    // The session's subscriptions end. Does not wait.
    void EndThoseOf(uint32_t session);

    // All subscriptions end, and no new one begins. Waits for the call-backs that are being made.
    void Close();

  private:
    using List = std::vector<std::unique_ptr<Subscriber>>;

    // Takes those out whose threads are at their end.
    List TakeDone();

    mutable std::mutex mutex_;
    List list_;
    bool closed_ = false;
};

}  // namespace NS_NORTHBOUND
