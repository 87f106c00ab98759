// Objects that exist once in the process.
#include "base/singleton.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/onthreads.h"

using NS_LOG_SERVICE1::Singleton;

namespace {

// Counts how often it is taken and given back, and can be told to fail.
class CountingLock {
  public:
    int acquire() {
        if (fails) {
            return -1;
        }
        ++held;
        ++taken;
        return 0;
    }
    int release() {
        --held;
        return 0;
    }

    bool fails = false;
    int held = 0;
    int taken = 0;
};

CountingLock g_lock;

CountingLock* TheLock() {
    return &g_lock;
}

struct Counted {
    Counted() {
        EXPECT_EQ(g_lock.held, 1);
        if (throws) {
            throw std::runtime_error("not now");
        }
        ++alive;
    }
    ~Counted() {
        EXPECT_EQ(g_lock.held, 1);
        --alive;
    }
    static int alive;
    static bool throws;
};
int Counted::alive = 0;
bool Counted::throws = false;

class SingletonObject : public testing::Test {
  protected:
    SingletonObject() {
        g_lock = CountingLock();
        Counted::throws = false;
    }
    ~SingletonObject() override {
        g_lock.fails = false;
        singleton_.Destroy();
        EXPECT_EQ(Counted::alive, 0);
        EXPECT_EQ(g_lock.held, 0);
    }

    Singleton<Counted, CountingLock> singleton_{&TheLock};
};

TEST_F(SingletonObject, IsCreatedUnderTheLockAndThenFoundWithoutIt) {
    EXPECT_EQ(singleton_.InstanceIfAny(), nullptr);
    Counted* const object = singleton_.Instance();
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(g_lock.taken, 1);
    EXPECT_EQ(singleton_.Instance(), object);
    EXPECT_EQ(singleton_.InstanceIfAny(), object);
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ(g_lock.taken, 1);
}

TEST_F(SingletonObject, IsNotCreatedWithoutTheLock) {
    g_lock.fails = true;
    EXPECT_EQ(singleton_.Instance(), nullptr);
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_EQ(g_lock.held, 0);
    g_lock.fails = false;
    EXPECT_NE(singleton_.Instance(), nullptr);
}

TEST_F(SingletonObject, IsFoundWithoutTheLockOnceItExists) {
    Counted* const object = singleton_.Instance();
    g_lock.fails = true;
    EXPECT_EQ(singleton_.Instance(), object);
}

TEST_F(SingletonObject, StaysWhenItsDestructionCannotTakeTheLock) {
    Counted* const object = singleton_.Instance();
    g_lock.fails = true;
    singleton_.Destroy();
    EXPECT_EQ(Counted::alive, 1);
    EXPECT_EQ(singleton_.InstanceIfAny(), object);
    EXPECT_EQ(g_lock.held, 0);
}

TEST_F(SingletonObject, IsDestroyedOnceAndCreatedAnew) {
    singleton_.Instance();
    singleton_.Destroy();
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_EQ(singleton_.InstanceIfAny(), nullptr);
    singleton_.Destroy();
    EXPECT_EQ(Counted::alive, 0);
    EXPECT_NE(singleton_.Instance(), nullptr);
    EXPECT_EQ(Counted::alive, 1);
}

TEST_F(SingletonObject, TakesNoLockToDestroyWhatIsNotThere) {
    singleton_.Destroy();
    EXPECT_EQ(g_lock.taken, 0);
}

TEST_F(SingletonObject, IsTriedAgainAfterItsConstructorThrew) {
    Counted::throws = true;
    EXPECT_THROW(singleton_.Instance(), std::runtime_error);
    EXPECT_EQ(g_lock.held, 0);
    EXPECT_EQ(singleton_.InstanceIfAny(), nullptr);
    Counted::throws = false;
    EXPECT_NE(singleton_.Instance(), nullptr);
}

struct Slow {
    Slow() {
        ++made;
        std::this_thread::yield();
    }
    static std::atomic<int> made;
};
std::atomic<int> Slow::made{0};

TEST(ProcessWideSingleton, IsCreatedOnceForManyThreads) {
    for (int round = 1; round <= 50; ++round) {
        Singleton<Slow> singleton(&NS_LOG_SERVICE1::StaticObjectLock);
        std::vector<Slow*> seen(8);
        NS_TEST::OnThreads(seen.size(),
                           [&](size_t thread) { seen[thread] = singleton.Instance(); });
        EXPECT_EQ(seen, std::vector<Slow*>(8, singleton.InstanceIfAny()));
        EXPECT_EQ(Slow::made, round);
        singleton.Destroy();
    }
}

Singleton<Slow>& Inner() {
    static Singleton<Slow> inner(&NS_LOG_SERVICE1::StaticObjectLock);
    return inner;
}

struct Outer {
    Outer() { Inner().Instance(); }
    ~Outer() {
        Inner().Destroy();
        Inner().Instance();
    }
};

TEST(ProcessWideSingleton, MayCreateAndDestroyAnotherOneWhileItComesAndGoes) {
    Singleton<Outer> outer(&NS_LOG_SERVICE1::StaticObjectLock);
    outer.Instance();
    EXPECT_NE(Inner().InstanceIfAny(), nullptr);
    outer.Destroy();
    EXPECT_NE(Inner().InstanceIfAny(), nullptr);
    Inner().Destroy();
}

}  // namespace
