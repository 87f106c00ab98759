// Locks that cannot be taken, or not be released.
#pragma once

#include <cstddef>

namespace NS_TEST {

enum class LockFailure {
    Taking,     // with EAGAIN; the lock is not taken
    Writing,    // the same, but a lock that may be taken for reading is
    Releasing,  // with EPERM; the lock is released all the same
};

// While it lives, any mutex or reader-writer lock that stands inside the given object fails,
// whoever uses it. Locks elsewhere in memory work as ever.
//
// The program that uses it is linked with failinglocks.cpp. One at a time.
class FailingLocks {
  public:
    template <class Object>
    explicit FailingLocks(const Object& object, LockFailure failure = LockFailure::Taking)
        : FailingLocks(&object, sizeof object, failure) {}
    FailingLocks(const void* begin, size_t size, LockFailure failure);
    ~FailingLocks();

    FailingLocks(const FailingLocks&) = delete;
    FailingLocks& operator=(const FailingLocks&) = delete;

    // How many times a lock failed so far.
    int Failures() const;

    // How many times one was released, or should have been. What was not taken must not be.
    int Releases() const;

    // How many reader-writer locks were made so far that several processes can share.
    static int SharedLocks();
};

}  // namespace NS_TEST
