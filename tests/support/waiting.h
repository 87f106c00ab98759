// Whether what runs on another thread comes to its end.
#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <thread>
#include <utility>

namespace NS_TEST {

// Whether `running` is still not done after a while in which it could have been.
template <class Result>
bool IsStillBlocked(const std::future<Result>& running) {
    return running.wait_for(std::chrono::milliseconds(200)) == std::future_status::timeout;
}

// Whether `running` gets done.
template <class Result>
bool Finishes(const std::future<Result>& running) {
    return running.wait_for(std::chrono::seconds(60)) == std::future_status::ready;
}

// Whether `action` comes to its end on a thread of its own. One that waits for ever for a lock is
// left to itself.
inline bool FinishesOnAnotherThread(std::function<void()> action) {
    std::packaged_task<void()> task(std::move(action));
    std::future<void> done = task.get_future();
    std::thread thread(std::move(task));
    if (!Finishes(done)) {
        thread.detach();
        return false;
    }
    thread.join();
    done.get();
    return true;
}

}  // namespace NS_TEST
