// Scheduled tasks for the tests: they count, wait where a test wants them to, and can be awaited.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "schedule/periodictasks.h"

namespace NS_TEST {

// How long a test waits for something that has to come before it fails. Much longer than it takes
// on a busy machine.
constexpr std::chrono::seconds kPatience{900};

// Something that happens once.
//
// Thread safety: any thread.
class Happening {
  public:
    void Happen() {
        const std::lock_guard<std::mutex> guard(lock_);
        happened_ = true;
        changed_.notify_all();
    }

    // Whether it happens before the patience is at its end.
    bool Await() {
        std::unique_lock<std::mutex> guard(lock_);
        return changed_.wait_for(guard, kPatience, [this] { return happened_; });
    }

    bool HasHappened() {
        const std::lock_guard<std::mutex> guard(lock_);
        return happened_;
    }

  private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool happened_ = false;  // guarded by lock_
};

// Counts its runs, and does in each of them what the test wants.
//
// Thread safety: any thread.
class CountingTask : public NS_SCHEDULE_SERVICE1::ScheduledTask {
  public:
    explicit CountingTask(std::function<void()> action = [] {}) : action_(std::move(action)) {}

    void Run() override {
        {
            const std::lock_guard<std::mutex> guard(lock_);
            ++runs_;
            changed_.notify_all();
        }
        action_();
    }

    int Runs() {
        const std::lock_guard<std::mutex> guard(lock_);
        return runs_;
    }

    // Whether there are that many runs before the patience is at its end.
    bool AwaitRuns(int runs) {
        std::unique_lock<std::mutex> guard(lock_);
        return changed_.wait_for(guard, kPatience, [this, runs] { return runs_ >= runs; });
    }

  private:
    const std::function<void()> action_;
    std::mutex lock_;
    std::condition_variable changed_;
    int runs_ = 0;  // guarded by lock_
};

}  // namespace NS_TEST
