// Mutexes that the compiler knows as such, and how to hold them for the length of a block.
#pragma once

#include <ace/Guard_T.h>
#include <ace/Recursive_Thread_Mutex.h>

#include <condition_variable>
#include <mutex>
#include <new>

#include "platform/threadannotations.h"

namespace NS_REFERENCE_HOST {

// Taken through a MutexLock.
class CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // Hold the mutex from before a fork until after it, in both processes.
    void BeforeFork() NO_THREAD_SAFETY_ANALYSIS { mutex_.lock(); }
    void AfterFork() NO_THREAD_SAFETY_ANALYSIS { mutex_.unlock(); }

    // In the child of a fork, which has none of the threads that may have held the mutex.
    void MakeAnewInChild() { new (&mutex_) std::mutex; }

  private:
    friend class MutexLock;
    std::mutex mutex_;
};

class SCOPED_CAPABILITY MutexLock {
  public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : lock_(mutex.mutex_) {}
    ~MutexLock() RELEASE() = default;

    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

    // Lets go of the mutex before the block ends, and takes it again.
    void Release() RELEASE() { lock_.unlock(); }
    void Acquire() ACQUIRE() { lock_.lock(); }

    // Wait as std::condition_variable does: without the mutex, which is held again afterwards. A
    // wait may end for no reason, so the caller checks its condition in a loop.
    void Wait(std::condition_variable& condition) { condition.wait(lock_); }
    template <class TimePoint>
    void WaitUntil(std::condition_variable& condition, const TimePoint& time) {
        condition.wait_until(lock_, time);
    }

  private:
    std::unique_lock<std::mutex> lock_;
};

// Taken through a RecursiveMutexLock. Bundles take it as an ACE mutex.
class CAPABILITY("mutex") RecursiveMutex : public ACE_Recursive_Thread_Mutex {};

class SCOPED_CAPABILITY RecursiveMutexLock {
  public:
    explicit RecursiveMutexLock(RecursiveMutex& mutex) ACQUIRE(mutex) : guard_(mutex) {}
    ~RecursiveMutexLock() RELEASE() = default;

    RecursiveMutexLock(const RecursiveMutexLock&) = delete;
    RecursiveMutexLock& operator=(const RecursiveMutexLock&) = delete;

  private:
    ACE_Guard<ACE_Recursive_Thread_Mutex> guard_;
};

}  // namespace NS_REFERENCE_HOST
