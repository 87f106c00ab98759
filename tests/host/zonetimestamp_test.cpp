// Local times for log records.
#include <gtest/gtest.h>
#include <time.h>

#include <atomic>
#include <cstdio>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "bundlemgr/logsupport.h"
#include "support/environment.h"

using NS_BUNDLEMGR1::GetZoneTimeStamp;
using NS_TEST::ScopedTimeZone;

namespace {

// The second before Berlin's clocks go forward and back in 2024.
constexpr time_t kBeforeSummer = 1711846799;
constexpr time_t kBeforeWinter = 1729990799;

std::string Stamp(time_t second, suseconds_t micros = 0) {
    std::string stamp;
    GetZoneTimeStamp(ACE_Time_Value(second, micros), stamp);
    return stamp;
}

// The same by way of the C library's own formatting.
std::string Reference(time_t second, suseconds_t micros) {
    struct tm local;
    localtime_r(&second, &local);
    char head[64];
    char zone[16];
    strftime(head, sizeof(head), "%Y-%m-%dT%H:%M:%S", &local);
    strftime(zone, sizeof(zone), "%z", &local);
    char stamp[128];
    std::snprintf(stamp, sizeof(stamp), "%s.%06ld%.3s:%s", head, static_cast<long>(micros), zone,
                  zone + 3);
    return stamp;
}

TEST(ZoneTimeStamp, IsTheLocalTimeWithMicrosecondsAndOffset) {
    const ScopedTimeZone zone(NS_TEST::BERLIN);
    EXPECT_EQ(Stamp(1709644029, 123), "2024-03-05T14:07:09.000123+01:00");
    EXPECT_EQ(Stamp(1720181229, 999999), "2024-07-05T14:07:09.999999+02:00");
}

TEST(ZoneTimeStamp, GivesAnOffsetForUniversalTimeToo) {
    const ScopedTimeZone zone(NS_TEST::UTC);
    EXPECT_EQ(Stamp(0), "1970-01-01T00:00:00.000000+00:00");
    EXPECT_EQ(Stamp(1709644029, 123456), "2024-03-05T13:07:09.123456+00:00");
}

TEST(ZoneTimeStamp, KnowsOffsetsOfAllKinds) {
    ScopedTimeZone zone("<+0545>-5:45");
    EXPECT_EQ(Stamp(0), "1970-01-01T05:45:00.000000+05:45");
    zone.Set("<-0330>3:30");
    EXPECT_EQ(Stamp(0), "1969-12-31T20:30:00.000000-03:30");
    zone.Set("<-0030>0:30");
    EXPECT_EQ(Stamp(0), "1969-12-31T23:30:00.000000-00:30");
    zone.Set("<+14>-14");
    EXPECT_EQ(Stamp(0), "1970-01-01T14:00:00.000000+14:00");
}

TEST(ZoneTimeStamp, CutsTheSecondsOffAnOffset) {
    ScopedTimeZone zone("LMT0:00:30");
    EXPECT_EQ(Stamp(0), "1969-12-31T23:59:30.000000+00:00");
    zone.Set("LMT-0:53:28");
    EXPECT_EQ(Stamp(0), "1970-01-01T00:53:28.000000+00:53");
}

TEST(ZoneTimeStamp, FollowsTheClocksForward) {
    const ScopedTimeZone zone(NS_TEST::BERLIN);
    EXPECT_EQ(Stamp(kBeforeSummer, 999999), "2024-03-31T01:59:59.999999+01:00");
    EXPECT_EQ(Stamp(kBeforeSummer + 1), "2024-03-31T03:00:00.000000+02:00");
}

TEST(ZoneTimeStamp, FollowsTheClocksBack) {
    const ScopedTimeZone zone(NS_TEST::BERLIN);
    EXPECT_EQ(Stamp(kBeforeWinter, 999999), "2024-10-27T02:59:59.999999+02:00");
    EXPECT_EQ(Stamp(kBeforeWinter + 1), "2024-10-27T02:00:00.000000+01:00");
}

TEST(ZoneTimeStamp, FollowsAChangeInTheMiddleOfAMinute) {
    const ScopedTimeZone zone("AAA-1BBB-2,M3.5.0/2:13:07,M10.5.0/3");
    const time_t change = kBeforeSummer + 1 + 13 * 60 + 7;
    EXPECT_EQ(Stamp(change - 1), "2024-03-31T02:13:06.000000+01:00");
    EXPECT_EQ(Stamp(change), "2024-03-31T03:13:07.000000+02:00");
}

TEST(ZoneTimeStamp, FollowsAClockThatIsSetBack) {
    const ScopedTimeZone zone(NS_TEST::BERLIN);
    EXPECT_EQ(Stamp(kBeforeSummer + 1, 5), "2024-03-31T03:00:00.000005+02:00");
    EXPECT_EQ(Stamp(kBeforeSummer, 7), "2024-03-31T01:59:59.000007+01:00");
    EXPECT_EQ(Stamp(kBeforeSummer, 6), "2024-03-31T01:59:59.000006+01:00");
    EXPECT_EQ(Stamp(0), "1970-01-01T01:00:00.000000+01:00");
}

TEST(ZoneTimeStamp, CountsMicrosecondsUpwardsBefore1970) {
    const ScopedTimeZone zone(NS_TEST::UTC);
    EXPECT_EQ(Stamp(-1, 0), "1969-12-31T23:59:59.000000+00:00");
    EXPECT_EQ(Stamp(0, -1), "1969-12-31T23:59:59.999999+00:00");
    EXPECT_EQ(Stamp(-1, -500000), "1969-12-31T23:59:58.500000+00:00");
}

TEST(ZoneTimeStamp, HasRoomForEveryYear) {
    const ScopedTimeZone zone(NS_TEST::UTC);
    EXPECT_EQ(Stamp(253402300799, 999999), "9999-12-31T23:59:59.999999+00:00");
    EXPECT_EQ(Stamp(253402300800), "10000-01-01T00:00:00.000000+00:00");
    EXPECT_EQ(Stamp(67768036191676799), "2147485547-12-31T23:59:59.000000+00:00");
    EXPECT_EQ(Stamp(-62167219201), "-001-12-31T23:59:59.000000+00:00");
}

TEST(ZoneTimeStamp, CountsSecondsWhereTheCalendarEnds) {
    const ScopedTimeZone zone(NS_TEST::UTC);
    constexpr time_t kLast = std::numeric_limits<time_t>::max();
    constexpr time_t kFirst = std::numeric_limits<time_t>::min();
    EXPECT_EQ(Stamp(kLast, 1), "@9223372036854775807.000001");
    EXPECT_EQ(Stamp(kFirst, -1), "@-9223372036854775808.000000");
    EXPECT_EQ(Stamp(0), "1970-01-01T00:00:00.000000+00:00");
}

TEST(ZoneTimeStamp, NoticesAnotherZoneOnceTheLibraryWasTold) {
    ScopedTimeZone zone(NS_TEST::UTC);
    EXPECT_EQ(Stamp(0), "1970-01-01T00:00:00.000000+00:00");
    zone.Set(NS_TEST::BERLIN);
    EXPECT_EQ(Stamp(0), "1970-01-01T01:00:00.000000+01:00");
    zone.Set("CET-1");
    EXPECT_EQ(Stamp(kBeforeSummer + 1), "2024-03-31T02:00:00.000000+01:00");
}

TEST(ZoneTimeStamp, ReplacesTheTextAndKeepsItsStorage) {
    std::string stamp(100, 'x');
    const char* const storage = stamp.data();
    GetZoneTimeStamp(ACE_Time_Value(1, 2), stamp);
    EXPECT_EQ(stamp.size(), 32u);
    EXPECT_EQ(stamp.data(), storage);
}

TEST(ZoneTimeStamp, AgreesWithTheLibraryAtRandomTimes) {
    const ScopedTimeZone zone(NS_TEST::BERLIN);
    std::mt19937_64 random(20240305);
    for (int round = 0; round < 50'000; ++round) {
        const auto second = static_cast<time_t>(random() % 4'000'000'000);
        const auto micros = static_cast<suseconds_t>(random() % 1'000'000);
        ASSERT_EQ(Stamp(second, micros), Reference(second, micros));
        ASSERT_EQ(Stamp(second, 999999 - micros), Reference(second, 999999 - micros));
    }
}

TEST(ZoneTimeStamp, IsRightOnManyThreadsAtOnce) {
    const ScopedTimeZone zone(NS_TEST::BERLIN);
    constexpr int kThreads = 4;
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([number, &ready] {
            const time_t second = kBeforeSummer + number;
            const std::string expected = Reference(second, number);
            for (++ready; ready < kThreads;) {
                std::this_thread::yield();
            }
            for (int round = 0; round < 100'000; ++round) {
                ASSERT_EQ(Stamp(second, number), expected);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
