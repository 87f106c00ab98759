// Work for the service that a client's thread does within its call.
#pragma once

#include <pthread.h>

#include <cerrno>

namespace NS_LOG_SERVICE1 {

// Hides the work from the client.
//
// As long as the object lives, the thread cannot be cancelled. It ends at its next cancellation
// point after the call. Writes and waits are cancellation points. If the thread ended there, its
// record would be lost uncounted, and other threads would write theirs from a stack that is gone.
// The forced unwinding would end the process at a catch (...).
//
// The destructor restores errno: a client often logs a failure before it looks at errno again.
class ClientWork {
  public:
    ClientWork() : errorBefore_(errno) {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelStateBefore_);
    }
    ~ClientWork() {
        ::pthread_setcancelstate(cancelStateBefore_, nullptr);
        errno = errorBefore_;
    }

    ClientWork(const ClientWork&) = delete;
    ClientWork& operator=(const ClientWork&) = delete;

  private:
    const int errorBefore_;
    int cancelStateBefore_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace NS_LOG_SERVICE1
