// The process's file creation mask, changed for the length of a block.
#pragma once

#include <sys/types.h>

#include "base/lockguard.h"
#include "base/mutex.h"

namespace NS_LOG_SERVICE1 {

// The mask belongs to the whole process. If two blocks saved and restored it at once, it could stay
// wrong. So one block at a time holds it, and the destructor restores the previous mask. Files that
// other code of the process creates meanwhile get this mask too.
//
// Thread safety: any thread; a second block waits for the first.
class ScopedCreationMask {
  public:
    explicit ScopedCreationMask(mode_t mask);
    ~ScopedCreationMask();

    ScopedCreationMask(const ScopedCreationMask&) = delete;
    ScopedCreationMask& operator=(const ScopedCreationMask&) = delete;

    // Around a fork: the child must not inherit the mask of a block.
    static void BeforeFork();
    static void AfterForkInParent();
    static void AfterForkInChild();

    // Another mask for the rest of the block.
    void Change(mode_t mask);

  private:
    LockGuard<Mutex> guard_;
    mode_t previous_;
};

}  // namespace NS_LOG_SERVICE1
