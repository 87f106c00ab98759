// Objects that exist at most once in the process.
#include "base/singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <stdexcept>
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
    int acquire() { return broken ? -1 : 0; }
    int release() {
        ++released;
        return 0;
    }
    bool broken = false;
    int released = 0;
};

SwitchedLock switchedLock;
SwitchedLock* TheSwitchedLock() {
    return &switchedLock;
}

using Shared = Singleton<Counted>;
using Lockable = Singleton<Counted, SwitchedLock>;

class SingletonObject : public ::testing::Test {
  protected:
    SingletonObject() {
        created = 0;
        destroyed = 0;
        switchedLock = SwitchedLock();
    }
};

TEST_F(SingletonObject, IsCreatedOnFirstUse) {
    Shared singleton(&StaticObjectLock);
    EXPECT_EQ(singleton.InstanceIfAny(), nullptr);
    EXPECT_EQ(created, 0);
    Counted* const instance = singleton.Instance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance->value, 5);
    EXPECT_EQ(singleton.Instance(), instance);
    EXPECT_EQ(singleton.InstanceIfAny(), instance);
    EXPECT_EQ(created, 1);
    singleton.Destroy();
}

TEST_F(SingletonObject, IsDestroyedOnceAndCreatedAfresh) {
    Shared singleton(&StaticObjectLock);
    singleton.Destroy();
    EXPECT_EQ(destroyed, 0);
    singleton.Instance()->value = 6;
    singleton.Destroy();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(singleton.InstanceIfAny(), nullptr);
    singleton.Destroy();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(singleton.Instance()->value, 5);
    EXPECT_EQ(created, 2);
    singleton.Destroy();
}

TEST_F(SingletonObject, IsNotCreatedWithoutTheLock) {
    Lockable singleton(&TheSwitchedLock);
    switchedLock.broken = true;
    EXPECT_EQ(singleton.Instance(), nullptr);
    EXPECT_EQ(created, 0);
    EXPECT_EQ(switchedLock.released, 0);
    switchedLock.broken = false;
    EXPECT_NE(singleton.Instance(), nullptr);
    EXPECT_EQ(switchedLock.released, 1);
    singleton.Destroy();
}

TEST_F(SingletonObject, IsFoundAndKeptWithoutTheLock) {
    Lockable singleton(&TheSwitchedLock);
    Counted* const instance = singleton.Instance();
    switchedLock.broken = true;
    EXPECT_EQ(singleton.Instance(), instance);
    singleton.Destroy();
    EXPECT_EQ(singleton.InstanceIfAny(), instance);
    EXPECT_EQ(destroyed, 0);
    switchedLock.broken = false;
    singleton.Destroy();
    EXPECT_EQ(destroyed, 1);
}

TEST_F(SingletonObject, IsTheSameForAllThreads) {
    Shared singleton(&StaticObjectLock);
    std::vector<Counted*> found(8);
    NS_TEST::OnThreads(found.size(), [&](size_t thread) { found[thread] = singleton.Instance(); });
    EXPECT_EQ(std::set<Counted*>(found.begin(), found.end()).size(), 1u);
    EXPECT_EQ(created, 1);
    singleton.Destroy();
}

Shared inner(&StaticObjectLock);

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
