// Local times for log records.
#include <gtest/gtest.h>
#include <time.h>

#include <cstdio>
#include <limits>
#include <random>

#include "bundlemgr/logsupport.h"
#include "support/environment.h"
#include "support/onthreads.h"

using NS_BUNDLEMGR1::GetZoneTimeStamp;
using NS_TEST::ScopedTimeZone;

namespace {

// The second before Berlin's clocks go forward and back in 2024.
constexpr time_t kBeforeSummer = 1711846799;
constexpr time_t kBeforeWinter = 1729990799;

std::string Stamp(time_t second, suseconds_t micros) {
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

// In this order: the clocks go forward, back, and are set back; and another zone is noticed in the
// same second once the library was told.
TEST(ZoneTimeStamp, IsTheLocalTimeWithMicrosecondsAndOffset) {
    struct Case {
        const char* zone;
        time_t second;
        suseconds_t micros;
        const char* stamp;
    };
    constexpr char kOddMinute[] = "AAA-1BBB-2,M3.5.0/2:13:07,M10.5.0/3";
    constexpr time_t kOddChange = kBeforeSummer + 1 + 13 * 60 + 7;
    const Case cases[] = {
        {NS_TEST::BERLIN, 1709644029, 123, "2024-03-05T14:07:09.000123+01:00"},
        {NS_TEST::BERLIN, 1720181229, 999999, "2024-07-05T14:07:09.999999+02:00"},
        {NS_TEST::BERLIN, kBeforeSummer, 999999, "2024-03-31T01:59:59.999999+01:00"},
        {NS_TEST::BERLIN, kBeforeSummer + 1, 5, "2024-03-31T03:00:00.000005+02:00"},
        {"CET-1", kBeforeSummer + 1, 5, "2024-03-31T02:00:00.000005+01:00"},
        {NS_TEST::BERLIN, kBeforeWinter, 999999, "2024-10-27T02:59:59.999999+02:00"},
        {NS_TEST::BERLIN, kBeforeWinter + 1, 0, "2024-10-27T02:00:00.000000+01:00"},
        {NS_TEST::BERLIN, kBeforeSummer, 7, "2024-03-31T01:59:59.000007+01:00"},
        {NS_TEST::BERLIN, kBeforeSummer, 6, "2024-03-31T01:59:59.000006+01:00"},
        {NS_TEST::BERLIN, 0, 0, "1970-01-01T01:00:00.000000+01:00"},
        {kOddMinute, kOddChange - 1, 0, "2024-03-31T02:13:06.000000+01:00"},
        {kOddMinute, kOddChange, 0, "2024-03-31T03:13:07.000000+02:00"},
        {"<+0545>-5:45", 0, 0, "1970-01-01T05:45:00.000000+05:45"},
        {"<-0330>3:30", 0, 0, "1969-12-31T20:30:00.000000-03:30"},
        {"<-0030>0:30", 0, 0, "1969-12-31T23:30:00.000000-00:30"},
        {"<+14>-14", 0, 0, "1970-01-01T14:00:00.000000+14:00"},
        // The seconds of an offset are cut off.
        {"LMT0:00:30", 0, 0, "1969-12-31T23:59:30.000000+00:00"},
        {"LMT-0:53:28", 0, 0, "1970-01-01T00:53:28.000000+00:53"},
        {NS_TEST::UTC, 0, 0, "1970-01-01T00:00:00.000000+00:00"},
        {NS_TEST::UTC, 1709644029, 123456, "2024-03-05T13:07:09.123456+00:00"},
        // Microseconds are counted upwards before 1970 too.
        {NS_TEST::UTC, -1, 0, "1969-12-31T23:59:59.000000+00:00"},
        {NS_TEST::UTC, 0, -1, "1969-12-31T23:59:59.999999+00:00"},
        {NS_TEST::UTC, -1, -500000, "1969-12-31T23:59:58.500000+00:00"},
        // There is room for every year, and where the calendar ends seconds are counted.
        {NS_TEST::UTC, 253402300799, 999999, "9999-12-31T23:59:59.999999+00:00"},
        {NS_TEST::UTC, 253402300800, 0, "10000-01-01T00:00:00.000000+00:00"},
        {NS_TEST::UTC, 67768036191676799, 0, "2147485547-12-31T23:59:59.000000+00:00"},
        {NS_TEST::UTC, -62167219201, 0, "-001-12-31T23:59:59.000000+00:00"},
        {NS_TEST::UTC, std::numeric_limits<time_t>::max(), 1, "@9223372036854775807.000001"},
        {NS_TEST::UTC, std::numeric_limits<time_t>::min(), -1, "@-9223372036854775808.000000"},
        {NS_TEST::UTC, 0, 0, "1970-01-01T00:00:00.000000+00:00"}};
    ScopedTimeZone zone(NS_TEST::UTC);
    for (const Case& each : cases) {
        zone.Set(each.zone);
        EXPECT_EQ(Stamp(each.second, each.micros), each.stamp) << each.zone;
    }
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
    NS_TEST::OnThreads(4, [](int number) {
        const time_t second = kBeforeSummer + number;
        const std::string expected = Reference(second, number);
        for (int round = 0; round < 100'000; ++round) {
            ASSERT_EQ(Stamp(second, number), expected);
        }
    });
}

}  // namespace
