// The digits of numbers, of which one is often the next after the other.
#include "base/decimaltext.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

namespace NS_LOG_SERVICE1 {
namespace {

TEST(DecimalText, ShowsEveryNumberWhateverCameBefore) {
    const int64_t numbers[] = {0,
                               1,
                               9,
                               10,
                               -1,
                               -10,
                               -9,
                               -2,
                               -1,
                               0,
                               0,
                               99,
                               100,
                               4294967295,
                               4294967296,
                               4294967295,
                               0,
                               1000,
                               999,
                               998,
                               INT64_MAX,
                               INT64_MIN,
                               INT64_MAX - 1,
                               INT64_MAX};
    DecimalText text;
    for (const int64_t number : numbers) {
        EXPECT_EQ(text.Of(number), std::to_string(number));
    }
}

TEST(DecimalText, CountsUpAndRepeats) {
    DecimalText text;
    for (const int64_t start : {int64_t{0}, int64_t{980}, int64_t{-1020}}) {
        for (int64_t number = start; number < start + 2000; ++number) {
            EXPECT_EQ(text.Of(number), std::to_string(number));
            EXPECT_EQ(text.Of(number), std::to_string(number));
        }
    }
}

TEST(DecimalText, AgreesWithTheLibraryOnRandomWalks) {
    std::mt19937_64 random(20240305);
    DecimalText text;
    int64_t number = 0;
    for (int i = 0; i < 20000; ++i) {
        const uint64_t kind = random() % 8;
        number = kind == 0   ? static_cast<int64_t>(random() >> random() % 64)
                 : kind == 1 ? number - (number > INT64_MIN ? 1 : 0)
                             : number + (number < INT64_MAX ? 1 : 0);
        ASSERT_EQ(text.Of(number), std::to_string(number));
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
