// A mutex that the compiler knows as one.
#pragma once

#include <ace/Thread_Mutex.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "base/threadannotations.h"

namespace NS_LOG_SERVICE1 {

// What a thread does that finds a mutex taken, after it has looked again for a short while.
enum class MutexWait { kSleep, kYieldThenSleep };

// Taken through a LockGuard. Both operations return what ACE's do: -1, with errno set, for a
// failure.
//
// A thread that finds the mutex taken looks again for a short while before it sleeps. Most of the
// service's locks are held for less time than the kernel takes to wake a thread.
//
// A thread that queues a record (kYieldThenSleep) also lets other threads run a few times. With
// more threads than processors, most of them would sleep. The holder would have to wake each of
// them, and the woken thread would take the processor from the holder or from the thread that
// writes a queue: a record took 1.6 times as long with eight threads (docs/performance.md). Others
// do not yield: an operator's command would wait behind the threads that log each time, and came
// less often.
//
// For the same reason a woken thread may find the mutex taken again by a thread that logs without a
// pause, tens of thousands of times in a row. So a thread that has waited for 10 ms counts as
// impatient. Threads that come later let it go first, and wait up to 10 ms for that. Before, a new
// thread takes a free mutex at once: the mutex is not kept for a thread that does not run yet.
class CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    int acquire(MutexWait wait = MutexWait::kSleep) ACQUIRE() {
        // Not ACE's operation, which says in errno, the caller's, that the mutex is taken.
        if (ImpatientThreads() != 0 || ::pthread_mutex_trylock(&mutex_.lock()) != 0) {
            return AcquireInTurn(wait);
        }
        return 0;
    }
    int release() RELEASE() {
        // Not ACE's operation, which is a call of one library more for each record.
        const int result = ::pthread_mutex_unlock(&mutex_.lock());
        if (result == 0) {
            return 0;
        }
        errno = result;
        return -1;
    }

    // Takes the mutex when nobody holds it; returns whether it is held now. Does not wait.
    bool TryAcquire() TRY_ACQUIRE(true) { return mutex_.tryacquire() != -1; }

    // How many threads wait that have lost their patience.
    int ImpatientThreads() const { return impatient_.load(std::memory_order_relaxed); }

    // Hold the mutex from before a fork until after it, in both processes. One that cannot be taken
    // is left alone. The threads that wait are the parent's.
    void BeforeFork() NO_THREAD_SAFETY_ANALYSIS { heldForFork_ = acquire() != -1; }
    void AfterForkInParent() NO_THREAD_SAFETY_ANALYSIS {
        if (heldForFork_) {
            heldForFork_ = false;
            release();
        }
    }
    void AfterForkInChild() {
        impatient_ = 0;
        AfterForkInParent();
    }

  private:
    // Not inlined: hardly ever called.
    __attribute__((noinline)) int AcquireInTurn(MutexWait wait);
    bool AcquireSoon();
    bool AcquireYielding();

    ACE_Thread_Mutex mutex_;
    std::atomic<int> impatient_{0};
    bool heldForFork_ = false;  // the holder's
};

}  // namespace NS_LOG_SERVICE1
