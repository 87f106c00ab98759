// Runs periodic tasks on one thread.
#include "schedule/taskscheduler.h"

#include <pthread.h>

#include <algorithm>
#include <string>

#include "common/describeexception.h"
#include "common/report.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kName[] = "qv_schedule";

// A task that throws must not end the others or the process.
void RunGuarded(NS_SCHEDULE_SERVICE1::ScheduledTask& task, int64_t handle) {
    try {
        task.Run();
    } catch (...) {
        ReportIfPossible(kName, [handle] {
            return "task " + std::to_string(handle) + " threw: " + DescribeException();
        });
    }
}

}  // namespace

TaskScheduler::~TaskScheduler() {
    Stop();
}

void TaskScheduler::Start() {
    thread_ = std::thread([this] { Serve(); });
}

void TaskScheduler::Stop() {
    {
        const MutexLock guard(lock_);
        stopped_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

int64_t TaskScheduler::Create(std::chrono::milliseconds interval,
                              NS_SCHEDULE_SERVICE1::ScheduledTask& task) {
    int64_t handle = kNone;
    {
        const MutexLock guard(lock_);
        if (stopped_ || interval <= std::chrono::milliseconds::zero()) {
            return kNone;
        }
        handle = ++lastHandle_;
        tasks_.emplace(handle, Task{interval, Clock::now() + interval, &task});
    }
    wake_.notify_all();
    return handle;
}

bool TaskScheduler::Delete(int64_t handle) {
    MutexLock guard(lock_);
    const bool found = tasks_.erase(handle) == 1;
    // A second caller waits too: it may free the task next. kNone is no task's handle, but callers
    // pass it.
    if (handle != kNone && running_ == handle && std::this_thread::get_id() != threadId_) {
        while (running_ == handle) {
            guard.Wait(idle_);
        }
    }
    return found;
}

TaskScheduler::Tasks::iterator TaskScheduler::FindNext() {
    return std::min_element(tasks_.begin(), tasks_.end(),
                            [](const Tasks::value_type& left, const Tasks::value_type& right) {
                                return left.second.due < right.second.due;
                            });
}

void TaskScheduler::Serve() {
    pthread_setname_np(pthread_self(), kName);
    MutexLock guard(lock_);
    threadId_ = std::this_thread::get_id();
    while (!stopped_) {
        const Tasks::iterator next = FindNext();
        if (next == tasks_.end()) {
            guard.Wait(wake_);
        } else if (const Clock::time_point due = next->second.due; Clock::now() < due) {
            guard.WaitUntil(wake_, due);
        } else {
            const int64_t handle = next->first;
            NS_SCHEDULE_SERVICE1::ScheduledTask& task = *next->second.task;
            running_ = handle;
            guard.Release();
            RunGuarded(task, handle);
            guard.Acquire();
            EndRun(handle);
        }
    }
}

// The task may have been deleted while its callback ran.
void TaskScheduler::EndRun(int64_t handle) {
    running_ = kNone;
    idle_.notify_all();
    const Tasks::iterator found = tasks_.find(handle);
    if (found != tasks_.end()) {
        Task& entry = found->second;
        const auto passed = (Clock::now() - entry.due) / entry.interval;
        entry.due += entry.interval * (passed + 1);
    }
}

}  // namespace NS_REFERENCE_HOST
