// A lock that many readers hold at once, or one writer.
#pragma once

#include <ace/RW_Mutex.h>

#include "base/threadannotations.h"

namespace NS_LOG_SERVICE1 {

// Taken through a ReadGuard or a WriteGuard. The operations return what ACE's do: -1, with errno
// set, for a failure.
class CAPABILITY("mutex") ReadWriteMutex {
  public:
    ReadWriteMutex() = default;
    ReadWriteMutex(const ReadWriteMutex&) = delete;
    ReadWriteMutex& operator=(const ReadWriteMutex&) = delete;

    int acquire_read() ACQUIRE_SHARED() { return mutex_.acquire_read(); }
    int acquire_write() ACQUIRE() { return mutex_.acquire_write(); }
    int release() RELEASE() { return mutex_.release(); }

  private:
    ACE_RW_Mutex mutex_;
};

// Both tolerate a lock that cannot be taken, as LockGuard does.
class SCOPED_CAPABILITY ReadGuard {
  public:
    explicit ReadGuard(ReadWriteMutex& mutex) ACQUIRE_SHARED(mutex)
        : mutex_(mutex), held_(mutex.acquire_read() != -1) {}
    ~ReadGuard() RELEASE() {
        if (held_) {
            mutex_.release();
        }
    }

    ReadGuard(const ReadGuard&) = delete;
    ReadGuard& operator=(const ReadGuard&) = delete;

  private:
    ReadWriteMutex& mutex_;
    const bool held_;
};

class SCOPED_CAPABILITY WriteGuard {
  public:
    explicit WriteGuard(ReadWriteMutex& mutex) ACQUIRE(mutex)
        : mutex_(mutex), held_(mutex.acquire_write() != -1) {}
    ~WriteGuard() RELEASE() {
        if (held_) {
            mutex_.release();
        }
    }

    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;

  private:
    ReadWriteMutex& mutex_;
    const bool held_;
};

}  // namespace NS_LOG_SERVICE1
