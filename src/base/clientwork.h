// Work for the service that a client's thread does within its call.
#pragma once

#include <pthread.h>

#include <cerrno>

namespace NS_LOG_SERVICE1 {

// Restores errno at the end of a block: a client often logs a failure before it looks at errno
// again.
class KeptErrno {
  public:
    KeptErrno() : before_(errno) {}
    ~KeptErrno() { errno = before_; }

    KeptErrno(const KeptErrno&) = delete;
    KeptErrno& operator=(const KeptErrno&) = delete;

  private:
    const int before_;
};

// Hides the work from the client, and keeps its errno.
//
// As long as the object lives, the thread cannot be cancelled. It ends at its next cancellation
// point after the call. Opening, closing and waiting are cancellation points. If the thread ended
// there, its record would be lost uncounted, and other threads would write theirs from a stack that
// is gone. The forced unwinding would end the process at a catch (...).
//
// The usual way of a record has no cancellation point and does without: see channel/directoutput.
class ClientWork {
  public:
    ClientWork() { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelStateBefore_); }
    ~ClientWork() { ::pthread_setcancelstate(cancelStateBefore_, nullptr); }

    ClientWork(const ClientWork&) = delete;
    ClientWork& operator=(const ClientWork&) = delete;

  private:
    const KeptErrno errno_;
    int cancelStateBefore_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace NS_LOG_SERVICE1
