// Keeping a thread alive until it has done its work.
#pragma once

#include <pthread.h>

namespace NS_LOG_SERVICE1 {

// While it stands, pthread_cancel does not end the calling thread; afterwards the thread ends at
// its next cancellation point, which is the client's. A write and a wait are such points: a thread
// that ended there would leave its record, on its stack, to the threads that write for it, and its
// unwinding would end the process where exceptions are not let through.
class Uncancelled {
  public:
    Uncancelled() { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~Uncancelled() { ::pthread_setcancelstate(before_, nullptr); }

    Uncancelled(const Uncancelled&) = delete;
    Uncancelled& operator=(const Uncancelled&) = delete;

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace NS_LOG_SERVICE1
