// A record that is logged while the clock cannot be read. This program has clocks of its own in the
// place of the C library's, which fail when they are told to.
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "manager/managertest.h"
#include "support/logfileparser.h"

namespace {

std::atomic<bool> g_clockFails{false};
std::atomic<int> g_failures{0};

bool Fails() {
    if (!g_clockFails) {
        return false;
    }
    ++g_failures;
    errno = EPERM;
    return true;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int clock_gettime(
    clockid_t clock, struct timespec* time) noexcept {
    if (clock == CLOCK_REALTIME && Fails()) {
        return -1;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

extern "C" __attribute__((visibility("default"))) int gettimeofday(struct timeval* time,
                                                                   void*) noexcept {
    if (Fails()) {
        return -1;
    }
    struct timespec now;
    syscall(SYS_clock_gettime, CLOCK_REALTIME, &now);
    time->tv_sec = now.tv_sec;
    time->tv_usec = now.tv_nsec / 1000;
    return 0;
}

namespace {

using RecordWithoutAClock = NS_TEST::ManagerTest;

TEST_F(RecordWithoutAClock, HasATimeOneSecondBeforeTheBeginning) {
    const NS_TEST::ScopedTimeZone zone(NS_TEST::UTC);
    NS_LOG_SERVICE1::Logger* const logger = Debug();
    Manager().outputmode = 1;
    g_clockFails = true;
    logger->Log("f.cpp", "Run", 7, -1, "text");
    g_clockFails = false;
    EXPECT_GT(g_failures, 0);
    Manager().FlushAll();
    const auto pieces = NS_TEST::ParseLogPieces(Path("log/" + Files("debug").front()));
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[1].record.stamp, "1969-12-31T23:59:59.000000+00:00");
    EXPECT_EQ(pieces[1].record.detail, "text");
}

}  // namespace
