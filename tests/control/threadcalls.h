// The C library's threads: those that cannot be had, and until when they wait.
#pragma once

#include <cstdint>

namespace NS_TEST {

// The program that uses it is linked with threadcalls.cpp. Any thread may use it.
class ThreadCalls {
  public:
    // While it lives, no thread can be created.
    class NoThreads {
      public:
        NoThreads();
        ~NoThreads();
        NoThreads(const NoThreads&) = delete;
        NoThreads& operator=(const NoThreads&) = delete;
    };

    // The end of a timed wait on a condition that a thread has begun since Forget, in the time of
    // the condition's own clock, in whole seconds. Waits until there is one; 0 when that does not
    // happen.
    static int64_t AwaitDeadline();
    static void Forget();
};

}  // namespace NS_TEST
