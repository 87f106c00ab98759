// Objects that exist at most once in the process.
#include "base/singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <stdexcept>
#include <utility>
#include <vector>

#include "support/onthreads.h"

namespace NS_LOG_SERVICE1 {
namespace {

std::atomic<int> created{0};
std::atomic<int> destroyed{0};

struct Counted {
    Counted() { ++created; }
    ~Counted() { ++destroyed; }
    int value = 5;
};

// A lock that can be told to fail.
struct SwitchedLock {
    int acquire() {
        if (broken) {
            return -1;
        }
        ++acquired;
        return 0;
    }
    int release() {
        ++released;
        return 0;
    }
    bool broken = false;
    int acquired = 0;
    int released = 0;
};

SwitchedLock switchedLock;
SwitchedLock* TheSwitchedLock() {
    return &switchedLock;
}

class SingletonObject : public ::testing::Test {
  protected:
    SingletonObject() {
        created = 0;
        destroyed = 0;
        switchedLock = SwitchedLock();
    }
    ~SingletonObject() override {
        singleton_.Destroy();
        switchedLock.broken = false;
        lockable_.Destroy();
    }

    Singleton<Counted> singleton_{&StaticObjectLock};
    Singleton<Counted, SwitchedLock> lockable_{&TheSwitchedLock};
};

TEST_F(SingletonObject, IsCreatedOnFirstUse) {
    EXPECT_EQ(singleton_.InstanceIfAny(), nullptr);
    EXPECT_EQ(created, 0);
    Counted* const instance = singleton_.Instance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(singleton_.Instance(), instance);
    EXPECT_EQ(singleton_.InstanceIfAny(), instance);
    EXPECT_EQ(created, 1);
}

TEST_F(SingletonObject, IsDestroyedOnceAndCreatedAfresh) {
    singleton_.Destroy();
    EXPECT_EQ(destroyed, 0);
    singleton_.Instance()->value = 6;
    for (int i = 0; i < 2; ++i) {
        singleton_.Destroy();
        EXPECT_EQ(destroyed, 1);
        EXPECT_EQ(singleton_.InstanceIfAny(), nullptr);
    }
    EXPECT_EQ(singleton_.Instance()->value, 5);
    EXPECT_EQ(created, 2);
}

TEST_F(SingletonObject, IsNotCreatedWithoutTheLock) {
    switchedLock.broken = true;
    EXPECT_EQ(lockable_.Instance(), nullptr);
    EXPECT_EQ(created, 0);
    EXPECT_EQ(switchedLock.released, 0);
    switchedLock.broken = false;
    EXPECT_NE(lockable_.Instance(), nullptr);
    EXPECT_EQ(switchedLock.released, 1);
}

TEST_F(SingletonObject, IsFoundAndKeptWithoutTheLock) {
    Counted* const instance = lockable_.Instance();
    switchedLock.broken = true;
    EXPECT_EQ(lockable_.Instance(), instance);
    lockable_.Destroy();
    EXPECT_EQ(lockable_.InstanceIfAny(), instance);
    EXPECT_EQ(destroyed, 0);
}

TEST_F(SingletonObject, IsTheSameForAllThreads) {
    std::vector<Counted*> found(8);
    NS_TEST::OnThreads(found.size(), [&](size_t thread) { found[thread] = singleton_.Instance(); });
    EXPECT_EQ(std::set<Counted*>(found.begin(), found.end()).size(), 1u);
    EXPECT_EQ(created, 1);
}

Singleton<Counted> inner(&StaticObjectLock);

struct Outer {
    Outer() : value(inner.Instance()->value) {}
    ~Outer() { inner.Destroy(); }
    int value;
};

TEST_F(SingletonObject, MayCreateAndDestroyAnotherOneOnItsWay) {
    Singleton<Outer> outer(&StaticObjectLock);
    EXPECT_EQ(outer.Instance()->value, 5);
    outer.Destroy();
    EXPECT_EQ(inner.InstanceIfAny(), nullptr);
    EXPECT_EQ(destroyed, 1);
}

// How often the lock was taken and released when the object came and when it went.
struct Locked {
    using Count = std::pair<int, int>;
    static Count Now() { return {switchedLock.acquired, switchedLock.released}; }

    Locked() : atBegin(Now()) {}
    ~Locked() { atEnd = Now(); }
    const Count atBegin;
    static inline Count atEnd;
};

TEST_F(SingletonObject, ComesAndGoesWhileTheLockIsHeldOnce) {
    Singleton<Locked, SwitchedLock> singleton(&TheSwitchedLock);
    singleton.Destroy();
    EXPECT_EQ(Locked::Now(), Locked::Count(0, 0)) << "there was nothing to destroy";
    EXPECT_EQ(singleton.Instance()->atBegin, Locked::Count(1, 0));
    singleton.Instance();
    EXPECT_EQ(Locked::Now(), Locked::Count(1, 1));
    singleton.Destroy();
    EXPECT_EQ(Locked::atEnd, Locked::Count(2, 1));
    EXPECT_EQ(Locked::Now(), Locked::Count(2, 2));
}

// The one that it created is gone when it needs it for the last time.
struct Returning {
    ~Returning() {
        inner.Destroy();
        EXPECT_NE(inner.Instance(), nullptr);
    }
};

TEST_F(SingletonObject, MayCreateAnotherOneAgainAtItsEnd) {
    Singleton<Returning> returning(&StaticObjectLock);
    inner.Instance()->value = 6;
    returning.Instance();
    returning.Destroy();
    ASSERT_NE(inner.InstanceIfAny(), nullptr);
    EXPECT_EQ(inner.InstanceIfAny()->value, 5);
    inner.Destroy();
}

struct Refusing {
    Refusing() {
        if (++created == 1) {
            throw std::runtime_error("not yet");
        }
    }
};

TEST_F(SingletonObject, ReleasesTheLockWhenItsConstructorThrows) {
    Singleton<Refusing, SwitchedLock> singleton(&TheSwitchedLock);
    EXPECT_THROW(singleton.Instance(), std::runtime_error);
    EXPECT_EQ(switchedLock.released, 1);
    EXPECT_EQ(singleton.InstanceIfAny(), nullptr);
    EXPECT_NE(singleton.Instance(), nullptr);
    singleton.Destroy();
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
