// Whose turn a mutex is (base/mutex.h). It stands in this room, which has a clock that a test
// stops: then nobody who waits for the turn of another one loses patience.
#include "base/mutex.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <thread>

#include "base/lockguard.h"
#include "channel/channelfixture.h"
#include "support/forkedchild.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

// For threads that wait in either way.
class MutexTurns : public FrozenClockTest, public ::testing::WithParamInterface<MutexWait> {
  protected:
    MutexTurns() { Calls().StopMonotonicClock(); }

    // A thread that takes the mutex, notes its name and lets go of it.
    std::thread Taker(char name) {
        return std::thread([this, name] {
            const LockGuard<Mutex> guard(mutex_, GetParam());
            order_ += name;
        });
    }
    // So many threads wait that have lost their patience.
    void AwaitImpatient(int threads) const {
        while (mutex_.ImpatientThreads() != threads) {
            std::this_thread::yield();
        }
    }

    Mutex mutex_;
    std::string order_;
};

// Whoever logs without a pause would take it again before the one that waits has woken up.
TEST_P(MutexTurns, OneThatHasWaitedForLongComesBeforeTheHolderComesAgain) {
    for (int i = 0; i < 5; ++i) {
        order_.clear();
        LockGuard<Mutex> guard(mutex_);
        std::thread waiting = Taker('w');
        AwaitImpatient(1);
        guard.Release();
        guard.Acquire();
        EXPECT_EQ(order_, "w");
        guard.Release();
        waiting.join();
    }
    EXPECT_EQ(mutex_.ImpatientThreads(), 0);
}

// Each of those that come later waits, however many they are.
TEST_P(MutexTurns, OneThatHasWaitedForLongComesBeforeAllThatComeLater) {
    LockGuard<Mutex> guard(mutex_);
    std::thread waiting = Taker('w');
    AwaitImpatient(1);
    std::thread later[] = {Taker('l'), Taker('l'), Taker('l')};
    guard.Release();
    guard.Acquire();
    EXPECT_EQ(order_.substr(0, 1), "w");
    guard.Release();
    waiting.join();
    for (std::thread& thread : later) {
        thread.join();
    }
    EXPECT_EQ(order_, "wlll");
}

// The one whose turn it is may not get a processor for long.
TEST_P(MutexTurns, NobodyWaitsForEverForTheTurnOfAnotherOne) {
    LockGuard<Mutex> guard(mutex_);
    std::thread waiting = Taker('w');
    AwaitImpatient(1);
    std::thread later = Taker('l');
    while (mutex_.ImpatientThreads() == 1) {
        Calls().LetPass(1000);
        std::this_thread::yield();
    }
    EXPECT_EQ(mutex_.ImpatientThreads(), 2);
    guard.Release();
    waiting.join();
    later.join();
    EXPECT_EQ(mutex_.ImpatientThreads(), 0);
}

TEST_P(MutexTurns, ThoseOfTheParentDoNotCountInAChildProcess) {
    mutex_.BeforeFork();
    std::thread waiting = Taker('w');
    AwaitImpatient(1);
    const pid_t child = ForkChild();
    if (child == 0) {
        mutex_.AfterForkInChild();
        EndChild(mutex_.ImpatientThreads() == 0 && mutex_.TryAcquire() ? 0 : 1);
    }
    EXPECT_EQ(mutex_.ImpatientThreads(), 1);
    mutex_.AfterForkInParent();
    waiting.join();
    EXPECT_EQ(AwaitChild(child), 0);
}

// A call that logs must not change what its caller looks at next.
TEST_P(MutexTurns, WaitingDoesNotTouchTheErrorOfTheCaller) {
    LockGuard<Mutex> guard(mutex_);
    int error = 0;
    std::thread waiting([this, &error] {
        errno = ENOENT;
        const LockGuard<Mutex> own(mutex_, GetParam());
        error = errno;
    });
    AwaitImpatient(1);
    guard.Release();
    waiting.join();
    EXPECT_EQ(error, ENOENT);
}

std::string NameOf(const ::testing::TestParamInfo<MutexWait>& info) {
    return info.param == MutexWait::kSleep ? "Sleeping" : "YieldingFirst";
}

INSTANTIATE_TEST_SUITE_P(Waits, MutexTurns,
                         ::testing::Values(MutexWait::kSleep, MutexWait::kYieldThenSleep), NameOf);

}  // namespace
}  // namespace NS_LOG_SERVICE1
