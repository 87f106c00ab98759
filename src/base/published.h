// A value that its owner changes and any thread reads.
#pragma once

#include <utility>

#include "base/lockguard.h"
#include "base/mutex.h"

namespace NS_LOG_SERVICE1 {

// For what does not fit into an atomic. The mutex is held only while the value is swapped or
// copied: a reader never waits for what the owner does under its own lock.
//
// Thread safety: any thread may read. The owner's lock guards Set.
template <class T>
class Published {
  public:
    // Replaces the value. Does not throw: `value` was made by the caller.
    void Set(T&& value) EXCLUDES(mutex_) {
        T replaced(std::move(value));
        const LockGuard<Mutex> guard(mutex_);
        std::swap(value_, replaced);
    }

    T Get() const EXCLUDES(mutex_) {
        const LockGuard<Mutex> guard(mutex_);
        return value_;
    }

  private:
    mutable Mutex mutex_;
    T value_ GUARDED_BY(mutex_);
};

}  // namespace NS_LOG_SERVICE1
