// Whether what runs on another thread waits, and whether it comes to its end.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>

namespace NS_TEST {

// Whether a thread of this process sleeps, as it does while it waits for another one. 0: a thread
// that does not run yet.
inline bool IsAsleep(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string number;
    std::string name;
    std::string state;
    return thread != 0 && status >> number >> name >> state && state == "S";
}

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
