// Holding a lock for the length of a block.
#pragma once

namespace NS_LOG_SERVICE1 {

// Takes a lock that reports failure by -1, as ACE's do. When taking it fails, the block runs
// unlocked and nothing is released: losing a record's place in the order is better than losing
// the record, or the process.
template <class Lock>
class LockGuard {
  public:
    explicit LockGuard(Lock& lock) : lock_(lock) { Acquire(); }
    ~LockGuard() { Release(); }

    LockGuard(const LockGuard&) = delete;
    LockGuard& operator=(const LockGuard&) = delete;

    // Whether the lock is held now.
    bool Held() const { return held_; }

    // Lets go of the lock before the block ends, and takes it again.
    void Release() {
        if (held_) {
            held_ = false;
            lock_.release();
        }
    }
    void Acquire() { held_ = lock_.acquire() != -1; }

  private:
    Lock& lock_;
    bool held_ = false;
};

}  // namespace NS_LOG_SERVICE1
