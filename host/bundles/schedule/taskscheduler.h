// Runs periodic tasks on one thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <thread>

#include "platform/mutex.h"
#include "schedule/periodictasks.h"

namespace NS_REFERENCE_HOST {

// A task is due after each of its intervals, counted from its creation on a monotonic clock. When a
// task takes long, the runs that it misses are skipped: it is due again at the next full interval.
//
// Thread safety: any thread may call Create and Delete, a task's own callback included; Start and
// Stop belong to the owner's thread, which must not be inside a callback.
class TaskScheduler {
  public:
    using Clock = std::chrono::steady_clock;

    TaskScheduler() = default;
    ~TaskScheduler();

    TaskScheduler(const TaskScheduler&) = delete;
    TaskScheduler& operator=(const TaskScheduler&) = delete;

    // Starts the thread; due tasks run from now on. Throws std::system_error when there is none to
    // be had.
    void Start();

    // Ends the thread, waiting for a callback that runs. No callback starts any more; the tasks
    // can still be deleted.
    void Stop() EXCLUDES(lock_);

    // Adds a task and returns its handle: 1 or more, and never used again. -1 for an interval that
    // is not positive, and after Stop.
    int64_t Create(std::chrono::milliseconds interval, NS_SCHEDULE_SERVICE1::ScheduledTask& task)
        EXCLUDES(lock_);

    // Ends the task. Returns whether there was one; when several threads delete the same task, only
    // the first gets true. Waits until the task's callback has ended, whatever the result. Inside a
    // callback, on the scheduler's own thread, it does not wait.
    bool Delete(int64_t handle) EXCLUDES(lock_);

  private:
    struct Task {
        Clock::duration interval;
        Clock::time_point due;
        NS_SCHEDULE_SERVICE1::ScheduledTask* task;  // the creator's
    };
    using Tasks = std::map<int64_t, Task>;

    static constexpr int64_t kNone = -1;

    void Serve() EXCLUDES(lock_);
    Tasks::iterator FindNext() REQUIRES(lock_);
    void EndRun(int64_t handle) REQUIRES(lock_);

    Mutex lock_;
    std::condition_variable wake_;  // the thread's: another task is next, or the end
    std::condition_variable idle_;  // the deleters': no callback runs
    Tasks tasks_ GUARDED_BY(lock_);
    int64_t lastHandle_ GUARDED_BY(lock_) = 0;
    int64_t running_ GUARDED_BY(lock_) = kNone;  // the task whose callback runs
    bool stopped_ GUARDED_BY(lock_) = false;
    std::thread::id threadId_ GUARDED_BY(lock_);  // the thread's own
    std::thread thread_;                          // the owner's
};

}  // namespace NS_REFERENCE_HOST
