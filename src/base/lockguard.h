// Holding a lock for the length of a block.
#pragma once

#include "base/threadannotations.h"

namespace NS_LOG_SERVICE1 {

// Takes a lock that reports failure by -1, as ACE's do. When taking it fails, the block runs
// unlocked and nothing is released: losing a record's place in the order is better than losing
// the record, or the process.
//
// The compiler's analysis takes the lock for held in either case: it checks that a lock is asked
// for wherever one is needed, not that asking succeeds.
template <class Lock>
class SCOPED_CAPABILITY LockGuard {
  public:
    explicit LockGuard(Lock& lock) ACQUIRE(lock) : lock_(lock) { Acquire(); }
    // For a lock that can be waited for in several ways.
    template <class Wait>
    LockGuard(Lock& lock, Wait wait) ACQUIRE(lock) : lock_(lock), held_(lock.acquire(wait) != -1) {}
    ~LockGuard() RELEASE() { Release(); }

    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

    // Whether the lock is held now.
    bool Held() const { return held_; }

    // Lets go of the lock before the block ends, and takes it again.
    void Release() RELEASE() {
        if (held_) {
            held_ = false;
            lock_.release();
        }
    }
    void Acquire() ACQUIRE() { held_ = lock_.acquire() != -1; }

  private:
    Lock& lock_;
    bool held_ = false;
};

}  // namespace NS_LOG_SERVICE1
