// How long a thread waits for a mutex before it becomes impatient.
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>
#include <optional>

#include "base/mutex.h"

namespace NS_TEST {
namespace {

struct ScriptedPatience {
    std::optional<timespec> now;  // while set, where the clock stands that somebody may set
    timespec end = {};            // the last wait's
};

ScriptedPatience& Patience() {
    static ScriptedPatience patience;
    return patience;
}

}  // namespace
}  // namespace NS_TEST

// The service is linked into the program statically and calls these.
extern "C" {

int clock_gettime(clockid_t clock, struct timespec* now) noexcept {
    const std::optional<timespec>& scripted = NS_TEST::Patience().now;
    if (clock == CLOCK_REALTIME && scripted) {
        *now = *scripted;
        return 0;
    }
    return static_cast<int>(::syscall(SYS_clock_gettime, clock, now));
}

// No thread of this program waits for a mutex. The test's has it already.
int pthread_mutex_timedlock(pthread_mutex_t* /*mutex*/, const struct timespec* end) noexcept {
    NS_TEST::Patience().end = *end;
    return 0;
}

}  // extern "C"

namespace NS_LOG_SERVICE1 {
namespace {

constexpr long kSecond = 1'000'000'000;
constexpr long kTenMilliseconds = 10'000'000;

TEST(MutexPatience, EndsAfterTenMillisecondsAlsoInTheNextSecond) {
    struct Wait {
        timespec now;
        timespec end;
    };
    constexpr Wait kWaits[] = {
        {{100, 0}, {100, kTenMilliseconds}},
        {{100, kSecond - kTenMilliseconds - 1}, {100, kSecond - 1}},
        {{100, kSecond - kTenMilliseconds}, {101, 0}},
        {{100, kSecond - 1}, {101, kTenMilliseconds - 1}},
    };
    for (const Wait& wait : kWaits) {
        SCOPED_TRACE(wait.now.tv_nsec);
        Mutex mutex;
        mutex.acquire();
        NS_TEST::Patience().now = wait.now;
        EXPECT_EQ(mutex.acquire(), 0);
        NS_TEST::Patience().now.reset();
        EXPECT_EQ(NS_TEST::Patience().end.tv_sec, wait.end.tv_sec);
        EXPECT_EQ(NS_TEST::Patience().end.tv_nsec, wait.end.tv_nsec);
        EXPECT_EQ(mutex.ImpatientThreads(), 0);
        mutex.release();
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
