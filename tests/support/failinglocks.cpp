// The C library's locks, some of which fail.
#include "support/failinglocks.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

namespace {

using NS_TEST::LockFailure;

std::atomic<uintptr_t> failingBegin{0};
std::atomic<uintptr_t> failingEnd{0};
std::atomic<LockFailure> failureKind{LockFailure::Taking};
std::atomic<int> failures{0};
std::atomic<int> releases{0};
std::atomic<int> sharedLocks{0};

bool IsInside(const void* lock) {
    const auto address = reinterpret_cast<uintptr_t>(lock);
    return address >= failingBegin && address < failingEnd;
}

bool MayBeTaken(const void* lock) {
    return failureKind != LockFailure::Taking || !IsInside(lock);
}

bool Fails(const void* lock, LockFailure failure) {
    if (failureKind != failure || !IsInside(lock)) {
        return false;
    }
    ++failures;
    return true;
}

// What the program would call without this file.
template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

template <class Lock, class Function>
int Take(Lock* lock, Function* take) {
    return Fails(lock, LockFailure::Taking) ? EAGAIN : take(lock);
}

int CountIfShared(const pthread_rwlockattr_t* attributes) {
    int sharing = PTHREAD_PROCESS_PRIVATE;
    return attributes != nullptr && pthread_rwlockattr_getpshared(attributes, &sharing) == 0 &&
                   sharing == PTHREAD_PROCESS_SHARED
               ? 1
               : 0;
}

template <class Lock, class Function>
int Release(Lock* lock, Function* release) {
    releases += IsInside(lock) ? 1 : 0;
    const int result = release(lock);
    return Fails(lock, LockFailure::Releasing) ? EPERM : result;
}

}  // namespace

#pragma GCC visibility push(default)

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
    static auto* const next = Next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    return Take(mutex, next);
}

// Those that do not wait for ever fail too. They do not count: who fails here asks again.
extern "C" int pthread_mutex_trylock(pthread_mutex_t* mutex) noexcept {
    static auto* const next = Next<int(pthread_mutex_t*)>("pthread_mutex_trylock");
    return MayBeTaken(mutex) ? next(mutex) : EAGAIN;
}

extern "C" int pthread_mutex_timedlock(pthread_mutex_t* mutex,
                                       const struct timespec* end) noexcept {
    static auto* const next =
        Next<int(pthread_mutex_t*, const struct timespec*)>("pthread_mutex_timedlock");
    return MayBeTaken(mutex) ? next(mutex, end) : EAGAIN;
}

extern "C" int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
    static auto* const next = Next<int(pthread_mutex_t*)>("pthread_mutex_unlock");
    return Release(mutex, next);
}

extern "C" int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
    static auto* const next = Next<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
    return Take(lock, next);
}

extern "C" int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
    static auto* const next = Next<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
    return Fails(lock, LockFailure::Writing) ? EAGAIN : Take(lock, next);
}

extern "C" int pthread_rwlock_init(pthread_rwlock_t* lock,
                                   const pthread_rwlockattr_t* attributes) noexcept {
    static auto* const next =
        Next<int(pthread_rwlock_t*, const pthread_rwlockattr_t*)>("pthread_rwlock_init");
    sharedLocks += CountIfShared(attributes);
    return next(lock, attributes);
}

extern "C" int pthread_rwlock_unlock(pthread_rwlock_t* lock) noexcept {
    static auto* const next = Next<int(pthread_rwlock_t*)>("pthread_rwlock_unlock");
    return Release(lock, next);
}

#pragma GCC visibility pop

namespace NS_TEST {

FailingLocks::FailingLocks(const void* begin, size_t size, LockFailure failure) {
    failures = 0;
    releases = 0;
    failureKind = failure;
    failingEnd = reinterpret_cast<uintptr_t>(begin) + size;
    failingBegin = reinterpret_cast<uintptr_t>(begin);
}

FailingLocks::~FailingLocks() {
    failingEnd = 0;
    failingBegin = 0;
}

int FailingLocks::Failures() const {
    return failures;
}

int FailingLocks::Releases() const {
    return releases;
}

int FailingLocks::SharedLocks() {
    return sharedLocks;
}

}  // namespace NS_TEST
