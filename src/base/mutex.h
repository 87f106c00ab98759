// A mutex that the compiler knows as one.
#pragma once

#include <ace/Thread_Mutex.h>

#include "base/threadannotations.h"

namespace NS_LOG_SERVICE1 {

// Taken through a LockGuard. Both operations return what ACE's do: -1, with errno set, for a
// failure.
class CAPABILITY("mutex") Mutex {
  public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    int acquire() ACQUIRE() { return mutex_.acquire(); }
    int release() RELEASE() { return mutex_.release(); }

  private:
    ACE_Thread_Mutex mutex_;
};

}  // namespace NS_LOG_SERVICE1
