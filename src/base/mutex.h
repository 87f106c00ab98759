// A mutex that the compiler knows as one.
#pragma once

#include <ace/Thread_Mutex.h>
#include <pthread.h>

#include "base/threadannotations.h"

namespace NS_LOG_SERVICE1 {

// Taken through a LockGuard. Both operations return what ACE's do: -1, with errno set, for a
// failure.
//
// A thread that finds the mutex taken looks again for a short while before it sleeps: most of the
// service's locks are held for less time than the kernel takes to wake a thread.
class CAPABILITY("mutex") Mutex {
  public:
    Mutex() : mutex_(nullptr, AdaptiveAttributes()) {}
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    int acquire() ACQUIRE() { return mutex_.acquire(); }
    int release() RELEASE() { return mutex_.release(); }

    // Takes the mutex when nobody holds it; returns whether it is held now. Does not wait.
    bool TryAcquire() TRY_ACQUIRE(true) { return mutex_.tryacquire() != -1; }

    // Hold the mutex from before a fork until after it, in both processes. One that cannot be taken
    // is left alone.
    void BeforeFork() NO_THREAD_SAFETY_ANALYSIS { heldForFork_ = acquire() != -1; }
    void AfterFork() NO_THREAD_SAFETY_ANALYSIS {
        if (heldForFork_) {
            heldForFork_ = false;
            release();
        }
    }

  private:
    static ACE_mutexattr_t* AdaptiveAttributes() {
        static ACE_mutexattr_t attributes = [] {
            ACE_mutexattr_t adaptive;
            ::pthread_mutexattr_init(&adaptive);
            ::pthread_mutexattr_settype(&adaptive, PTHREAD_MUTEX_ADAPTIVE_NP);
            return adaptive;
        }();
        return &attributes;
    }

    ACE_Thread_Mutex mutex_;
    bool heldForFork_ = false;  // the holder's
};

}  // namespace NS_LOG_SERVICE1
