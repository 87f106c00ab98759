#include "format/stamp.h"

#include <gtest/gtest.h>

namespace {

using namespace NS_LOG_READER;

TEST(Stamp, IsReadInItsZone) {
    const struct {
        const char* text;
        Time time;
    } cases[] = {
        {"1970-01-01T00:00:00.000000+00:00", 0},
        {"1970-01-01T01:00:00.000001+01:00", 1},
        {"1969-12-31T19:30:00.500000-04:30", 500000},
        {"2024-02-29T12:00:00.000000+00:00", 1709208000000000},
        {"2026-03-05T14:07:09.000123+01:00", 1772716029000123},
        {"12026-01-01T00:00:00.000000+00:00", 317336745600000000},
        {"@12.000034", 12000034},
        {"@-3.000001", -2999999},
    };
    for (const auto& stamp : cases) {
        Time time = -1;
        EXPECT_EQ(ParseStamp(std::string(stamp.text) + ", x", time),
                  std::string_view(stamp.text).size())
            << stamp.text;
        EXPECT_EQ(time, stamp.time) << stamp.text;
    }
}

TEST(Stamp, IsNothingElse) {
    for (const char* text :
         {"", "@", "@1", "@1.", "@x.000000", "-", "2026", "2026-03-05T14:07:09.000123+01:0",
          "2026-03-05 14:07:09.000123+01:00", "226-03-05T14:07:09.000123+01:00",
          "2026-03-05T14:07:09,000123+01:00", "x026-03-05T14:07:09.000123+01:00",
          "2026-03-05T14:07:09.000123 01:00", "-26-03-05T14:07:09.000123+01:00"}) {
        EXPECT_EQ(StampLength(text), 0U) << text;
    }
}

TEST(Stamp, OfThisZoneIsReadBackAsTheSameTime) {
    for (const Time time : {Time{0}, Time{-1}, Time{1772716029000123}, Time{1790000000999999}}) {
        Time read = 0;
        const std::string text = FormatLocalStamp(time);
        EXPECT_EQ(ParseStamp(text, read), text.size());
        EXPECT_EQ(read, time) << text;
    }
}

}  // namespace
