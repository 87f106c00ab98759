// Work on a log file that a client's thread does within its call.
#pragma once

#include <pthread.h>

#include <cerrno>

namespace NS_LOG_SERVICE1 {

// Hides the work on the file from the client.
//
// As long as the object lives, the thread cannot be cancelled. It ends at its next cancellation
// point after the call. Writes and waits are cancellation points. If the thread ended there, other
// threads would write its record from a stack that is gone, and the forced unwinding would end the
// process at a catch (...).
//
// The destructor restores errno: a client often logs a failure before it looks at errno again.
class FileWork {
  public:
    FileWork() : errorBefore_(errno) {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelStateBefore_);
    }
    ~FileWork() {
        ::pthread_setcancelstate(cancelStateBefore_, nullptr);
        errno = errorBefore_;
    }

    FileWork(const FileWork&) = delete;
    FileWork& operator=(const FileWork&) = delete;

  private:
    const int errorBefore_;
    int cancelStateBefore_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace NS_LOG_SERVICE1
