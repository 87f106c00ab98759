#include "query/timeexpression.h"

#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>

#include "query/badrequest.h"

namespace {

using namespace NS_LOG_READER;

class TimeExpression : public testing::Test {
  protected:
    TimeExpression() {
        ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        ::tzset();
        ParseStamp("2026-03-05T14:07:09.000000+01:00", now_);
    }

    std::string Read(const std::string& text, std::optional<Time> after = {}) const {
        return FormatLocalStamp(ParseTimeExpression(text, now_, after)).substr(0, 26);
    }

    Time now_ = 0;
};

TEST_F(TimeExpression, IsReadAsPeopleWriteIt) {
    const struct {
        const char* text;
        const char* time;
    } cases[] = {
        {"2026-03-05", "2026-03-05T00:00:00.000000"},
        {"2026-03-05T02:14", "2026-03-05T02:14:00.000000"},
        {"2026-03-05 02:14:30.25", "2026-03-05T02:14:30.250000"},
        {"2026-03-05T02:14:30Z", "2026-03-05T03:14:30.000000"},
        {"2026-03-05T02:14:30.000123+05:30", "2026-03-04T21:44:30.000123"},
        {"2026-03-05 02:14 -0200", "2026-03-05T05:14:00.000000"},
        {"2026-07-01T12:00Z", "2026-07-01T14:00:00.000000"},
        {"02:14", "2026-03-05T02:14:00.000000"},
        {"23:50", "2026-03-04T23:50:00.000000"},
        {"14:07:09", "2026-03-05T14:07:09.000000"},
        {"now", "2026-03-05T14:07:09.000000"},
        {"today", "2026-03-05T00:00:00.000000"},
        {"yesterday", "2026-03-04T00:00:00.000000"},
        {"tomorrow", "2026-03-06T00:00:00.000000"},
        {"10 min ago", "2026-03-05T13:57:09.000000"},
        {"2 hours ago", "2026-03-05T12:07:09.000000"},
        {"1.5h ago", "2026-03-05T12:37:09.000000"},
        {"-90s", "2026-03-05T14:05:39.000000"},
        {" -1w ", "2026-02-26T14:07:09.000000"},
        {"@1772716029", "2026-03-05T14:07:09.000000"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(Read(test.text), test.time) << test.text;
    }
}

TEST_F(TimeExpression, WithoutADateComesBehindTheBeginning) {
    const Time since = ParseTimeExpression("23:50", now_);
    EXPECT_EQ(Read("00:10", since), "2026-03-05T00:10:00.000000");
    EXPECT_EQ(Read("23:55", since), "2026-03-04T23:55:00.000000");
}

// On 25 October 2026 the clock goes back from 03:00+02:00 to 02:00+01:00.
TEST_F(TimeExpression, OfAClockIsTheLastInTheHourThatComesTwice) {
    const struct {
        const char* now;
        const char* text;
        const char* time;
    } cases[] = {
        {"2026-10-25T02:20:00+02:00", "02:10", "2026-10-25T02:10:00.000000+02:00"},
        {"2026-10-25T02:20:00+02:00", "02:30", "2026-10-24T02:30:00.000000+02:00"},
        {"2026-10-25T02:20:00+01:00", "02:10", "2026-10-25T02:10:00.000000+01:00"},
        {"2026-10-25T02:20:00+01:00", "02:30", "2026-10-25T02:30:00.000000+02:00"},
        {"2026-10-25T02:20:00+01:00", "02:20:00", "2026-10-25T02:20:00.000000+01:00"},
        {"2026-10-25T02:20:00+01:00", "02:20:01", "2026-10-25T02:20:01.000000+02:00"},
        {"2026-10-25T12:00:00+01:00", "02:30", "2026-10-25T02:30:00.000000+01:00"},
        {"2026-10-25T12:00:00+01:00", "01:59", "2026-10-25T01:59:00.000000+02:00"},
        {"2026-10-25T12:00:00+01:00", "03:00", "2026-10-25T03:00:00.000000+01:00"},
        {"2026-10-26T02:20:00+01:00", "02:30", "2026-10-25T02:30:00.000000+01:00"},
    };
    for (const auto& test : cases) {
        const Time now = ParseTimeExpression(test.now, now_);
        EXPECT_EQ(FormatLocalStamp(ParseTimeExpression(test.text, now)), test.time)
            << test.text << " at " << test.now;
    }
}

TEST_F(TimeExpression, OfAClockIsTheNextInTheHourThatComesTwice) {
    const auto read = [&](const char* text, const char* after) {
        const Time since = ParseTimeExpression(after, now_);
        return FormatLocalStamp(ParseTimeExpression(text, now_, since, Bound::Until));
    };
    EXPECT_EQ(read("02:30", "2026-10-25T01:50+02:00"), "2026-10-25T02:30:00.000000+02:00");
    EXPECT_EQ(read("02:30", "2026-10-25T02:40+02:00"), "2026-10-25T02:30:00.000000+01:00");
    EXPECT_EQ(read("02:30", "2026-10-25T02:30+01:00"), "2026-10-26T02:30:00.000000+01:00");
}

TEST_F(TimeExpression, OfADateTakesInAllOfTheHourThatComesTwice) {
    const auto read = [&](const char* text, Bound bound) {
        return FormatLocalStamp(ParseTimeExpression(text, now_, {}, bound));
    };
    const char* const half = "2026-10-25 02:30:01.5";
    EXPECT_EQ(read(half, Bound::Since), "2026-10-25T02:30:01.500000+02:00");
    EXPECT_EQ(read(half, Bound::Until), "2026-10-25T02:30:01.500000+01:00");
    for (const Bound bound : {Bound::Since, Bound::Until}) {
        EXPECT_EQ(read("2026-10-25T01:59:59", bound), "2026-10-25T01:59:59.000000+02:00");
        EXPECT_EQ(read("2026-10-25T03:00", bound), "2026-10-25T03:00:00.000000+01:00");
        EXPECT_EQ(read("2026-10-25T02:30Z", bound), "2026-10-25T03:30:00.000000+01:00");
    }
    // Midnight comes twice.
    ::setenv("TZ", "<-01>1<+00>,M3.5.0/0,M10.5.0/1", 1);
    ::tzset();
    EXPECT_EQ(read("2026-10-25 00:00", Bound::Until), "2026-10-25T00:00:00.000000-01:00");
    EXPECT_EQ(read("2026-10-25", Bound::Until), "2026-10-25T00:00:00.000000+00:00");
}

// On 29 March 2026 the clock goes forward from 02:00+01:00 to 03:00+02:00.
TEST_F(TimeExpression, MayBeOneThatTheClockLeavesOut) {
    const std::string time = Read("2026-03-29T02:30");
    EXPECT_TRUE(time == "2026-03-29T01:30:00.000000" || time == "2026-03-29T03:30:00.000000")
        << time;
}

TEST_F(TimeExpression, ThatMakesNoSenseIsRefused) {
    for (const char* text :
         {"", "soon", "25:00", "12:60", "2026-13-01", "2026-02-29", "2026-04-31", "2026-12-32",
          "2026-03-05T", "5 moons ago", "-", "-1x", "@x", "2026-03-05T10:00+1", "10:00x"}) {
        EXPECT_THROW(ParseTimeExpression(text, now_), BadRequest) << text;
    }
    EXPECT_EQ(Read("2024-02-29"), "2024-02-29T00:00:00.000000");
    EXPECT_EQ(Read("2026-12-31"), "2026-12-31T00:00:00.000000");
    EXPECT_EQ(ParseDuration("30d"), 30 * 86400 * kMicrosPerSecond);
    EXPECT_THROW(ParseDuration("30"), BadRequest);
}

}  // namespace
