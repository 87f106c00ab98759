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

TEST_F(TimeExpression, ThatMakesNoSenseIsRefused) {
    for (const char* text : {"", "soon", "25:00", "12:60", "2026-13-01", "2026-03-05T",
                             "5 moons ago", "-", "-1x", "@x", "2026-03-05T10:00+1", "10:00x"}) {
        EXPECT_THROW(ParseTimeExpression(text, now_), BadRequest) << text;
    }
    EXPECT_EQ(ParseDuration("30d"), 30 * 86400 * kMicrosPerSecond);
    EXPECT_THROW(ParseDuration("30"), BadRequest);
}

}  // namespace
