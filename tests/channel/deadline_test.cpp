// The end of a wait (base/deadline.h). It stands in this room, which has a clock that a test sets.
#include "base/deadline.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>
#include <thread>

#include "channel/channelfixture.h"

namespace NS_LOG_SERVICE1 {
namespace {

using namespace NS_TEST;

class DeadlineTest : public FrozenClockTest {
  protected:
    DeadlineTest() {
        Calls().StopMonotonicClock();
        Calls().LetPass(500000);
    }
};

TEST_F(DeadlineTest, IsOverAfterItsMillisecondsAndNotBefore) {
    for (const int64_t milliseconds : {1, 499, 500, 700, 1500, 2000}) {
        const Deadline deadline(milliseconds);
        EXPECT_FALSE(deadline.IsOver()) << milliseconds;
        Calls().LetPass(milliseconds * 1000 - 1);
        EXPECT_FALSE(deadline.IsOver()) << milliseconds;
        Calls().LetPass(1);
        EXPECT_TRUE(deadline.IsOver()) << milliseconds;
    }
}

TEST(WaitForAMoment, IsNotWhereACancelledThreadEndsAndLeavesErrnoAlone) {
    bool ended = false;
    std::thread thread([&ended] {
        ::pthread_cancel(::pthread_self());
        errno = ENOENT;
        EXPECT_FALSE(Deadline(3).Await([] { return false; }));
        ended = errno == ENOENT;
    });
    thread.join();
    EXPECT_TRUE(ended);
}

TEST_F(DeadlineTest, LooksAtTheConditionOnceAtLeastAndAgainUntilTheEnd) {
    EXPECT_TRUE(Deadline(0).Await([] { return true; }));
    int looks = 0;
    EXPECT_FALSE(Deadline(0).Await([&looks] { return ++looks == 2; }));
    EXPECT_EQ(looks, 1);
    EXPECT_TRUE(Deadline(1).Await([&looks] { return ++looks == 5; }));
    Calls().StopMonotonicClock(1000);
    looks = 0;
    EXPECT_FALSE(Deadline(3).Await([&looks] { return ++looks == 9; }));
    EXPECT_EQ(looks, 3);
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
