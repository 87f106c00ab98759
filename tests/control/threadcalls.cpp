// The C library's threads, under the eyes of a test.
#include "control/threadcalls.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

namespace {

std::atomic<bool> noThreads{false};
std::atomic<int64_t> deadlineSecond{0};  // 0: none yet

// What the program would call without this file.
template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#pragma GCC visibility push(default)

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*body)(void*), void* argument) noexcept {
    static auto* const next =
        Next<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
    return noThreads ? EAGAIN : next(thread, attributes, body, argument);
}

extern "C" int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                      const timespec* deadline) {
    static auto* const next =
        Next<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)>("pthread_cond_timedwait");
    deadlineSecond = deadline->tv_sec;
    return next(condition, mutex, deadline);
}

#pragma GCC visibility pop

namespace NS_TEST {

ThreadCalls::NoThreads::NoThreads() {
    noThreads = true;
}

ThreadCalls::NoThreads::~NoThreads() {
    noThreads = false;
}

int64_t ThreadCalls::AwaitDeadline() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (deadlineSecond == 0 && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    return deadlineSecond;
}

void ThreadCalls::Forget() {
    deadlineSecond = 0;
}

}  // namespace NS_TEST
