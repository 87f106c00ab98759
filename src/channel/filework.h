// Work on a log file that a client's thread does within its call.
#pragma once

#include <pthread.h>

#include <cerrno>

namespace NS_LOG_SERVICE1 {

// Keeps the file's troubles from the client.
//
// While it stands, the thread cannot be cancelled; it ends at its next cancellation point behind
// the call. A write and a wait are such points: a thread that ended there would leave its record,
// on its stack, to the threads that write for it, and its unwinding would end the process.
//
// Afterwards errno is as before: a client often logs a failure before it looks at the reason again.
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
