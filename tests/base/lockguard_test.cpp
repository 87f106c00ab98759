// Holding a lock for the length of a block.
#include "base/lockguard.h"

#include <gtest/gtest.h>

namespace NS_LOG_SERVICE1 {
namespace {

// Counts what is asked of it, and fails on demand.
struct CountingLock {
    int acquire() {
        ++acquired;
        return result;
    }
    int release() {
        ++released;
        return 0;
    }

    int result = 0;
    int acquired = 0;
    int released = 0;
};

// Only -1 is a failure.
TEST(LockGuard, HoldsTheLockForTheLengthOfTheBlock) {
    for (const int success : {0, 1}) {
        CountingLock lock{success};
        {
            const LockGuard<CountingLock> guard(lock);
            EXPECT_TRUE(guard.Held());
            EXPECT_EQ(lock.released, 0);
        }
        EXPECT_EQ(lock.acquired, 1);
        EXPECT_EQ(lock.released, 1);
    }
}

TEST(LockGuard, ReleasesNothingThatCouldNotBeTaken) {
    CountingLock lock{-1};
    {
        LockGuard<CountingLock> guard(lock);
        EXPECT_FALSE(guard.Held());
        guard.Release();
    }
    EXPECT_EQ(lock.acquired, 1);
    EXPECT_EQ(lock.released, 0);
}

TEST(LockGuard, CanBeLetGoEarlyAndTakenAgain) {
    CountingLock lock;
    {
        LockGuard<CountingLock> guard(lock);
        guard.Release();
        EXPECT_FALSE(guard.Held());
        guard.Release();
        EXPECT_EQ(lock.released, 1);
        guard.Acquire();
        EXPECT_TRUE(guard.Held());
        EXPECT_EQ(lock.acquired, 2);
        guard.Release();
        lock.result = -1;
        guard.Acquire();
        EXPECT_FALSE(guard.Held());
    }
    EXPECT_EQ(lock.released, 2);
}

TEST(LockGuard, ReleasesWhenAnExceptionLeavesTheBlock) {
    CountingLock lock;
    try {
        const LockGuard<CountingLock> guard(lock);
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(lock.released, 1);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
