// Messages are formatted byte for byte as the C library does it.
#include "base/commonformat.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <string>

#include "support/randomformat.h"

namespace NS_LOG_SERVICE1 {
namespace {

constexpr size_t kSize = 4096;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

// What FormatCommon makes of the arguments; nothing where it leaves them to the C library.
struct CommonText {
    bool common = false;
    std::string text;
};

CommonText Format(size_t room, const char* format, va_list arguments) {
    char buffer[kSize];
    const int length = FormatCommon(buffer, room, format, arguments);
    return length == kNotCommon
               ? CommonText()
               : CommonText{true, std::string(buffer, static_cast<size_t>(length))};
}

CommonText Common(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const CommonText result = Format(kSize - 1, format, arguments);
    va_end(arguments);
    return result;
}

// The text of both, which is the same.
std::string Same(const char* format, ...) {
    char expected[kSize];
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const CommonText result = Format(kSize - 1, format, arguments);
    const int length = std::vsnprintf(expected, sizeof expected, format, again);
    va_end(again);
    va_end(arguments);
    EXPECT_TRUE(result.common) << format;
    EXPECT_EQ(result.text, std::string(expected, static_cast<size_t>(length))) << format;
    return result.text;
}

TEST(CommonFormat, FormatsWhatMessagesConsistOf) {
    EXPECT_EQ(Same("no conversion"), "no conversion");
    EXPECT_EQ(Same(""), "");
    EXPECT_EQ(Same("%d|%i|%u", -1, INT_MIN, 42u), "-1|-2147483648|42");
    EXPECT_EQ(Same("%x|%X|%08x", 0xbeefu, 0xbeefu, 0xbeefu), "beef|BEEF|0000beef");
    EXPECT_EQ(Same("%ld|%lld|%lu|%zu", LONG_MIN, LLONG_MIN, ULONG_MAX, SIZE_MAX).substr(0, 20),
              "-9223372036854775808");
    EXPECT_EQ(Same("%hhd|%hd|%hhu|%hu", 300, 70000, 300, 70000), "44|4464|44|4464");
    EXPECT_EQ(Same("%jd|%td", static_cast<intmax_t>(-5), static_cast<ptrdiff_t>(7)), "-5|7");
    EXPECT_EQ(Same("%s|%10s|%-10s|%.2s|%.*s", "text", "right", "left", "cut", 3, "longer"),
              "text|     right|left      |cu|lon");
    EXPECT_EQ(Same("%c|%3c|%-3c|", 'a', 'b', 'c'), "a|  b|c  |");
    EXPECT_EQ(Same("100%%"), "100%");
    Same("%p|%20p|%-20p|", "a", "b", "c");
    EXPECT_EQ(Same("%5d|%-5d|%05d|%+d|% d|%.3d|%8.3d|%-8.3d|%*d", 1, 2, 3, 4, 5, 6, 7, 8, -4, 9),
              "    1|2    |00003|+4| 5|006|     007|008     |9   ");
    EXPECT_EQ(Same("[%.0d]", 0), "[]");
    EXPECT_EQ(Same("%f|%.3f|%.0f|%10.2f|%-10.2f|%010.2f|%+.1f|% .1f", 1.5, 2.0005, 2.5, 3.14159,
                   2.71828, -1.005, 1.25, 0.35),
              "1.500000|2.001|2|      3.14|2.72      |-000001.00|+1.2| 0.3");
    EXPECT_EQ(Same("%e|%g|%g|%g|%.10g", 12345.678, 0.0001, 1e15, 100000.0, 1.0 / 3),
              "1.234568e+04|0.0001|1e+15|100000|0.3333333333");
}

// Halves go to the even digit, and only exact halves are halves.
TEST(CommonFormat, RoundsAsTheCLibraryDoes) {
    for (const double value : {0.5,
                               1.5,
                               2.5,
                               0.125,
                               0.375,
                               0.0625,
                               0.1875,
                               0.0009765625,
                               0.0014648437500000002,
                               0.00048828125,
                               0.00007324218750000001,
                               2.675,
                               1.005,
                               999999.9995,
                               9999.9995,
                               0.9996,
                               4294967.2955,
                               4294967.2965,
                               0.0005,
                               1e-7,
                               123456789.125,
                               4503599627370497.5,
                               9007199254740993.0,
                               1e17,
                               99999999999999.99,
                               DBL_MIN,
                               DBL_TRUE_MIN,
                               0.0,
                               -0.0,
                               1e-20}) {
        for (const char* const format : {"%.0f", "%.1f", "%.2f", "%.3f", "%.4f", "%f", "%.9f",
                                         "%.10f", "%.17f", "%e", "%.0e", "%g", "%.0g", "%.17g"}) {
            Same(format, value);
            Same(format, -value);
        }
    }
}

TEST(CommonFormat, AgreesWithTheCLibraryOnRandomFormats) {
    NS_TEST::RandomFormats formats(20261121);
    size_t common = 0;
    for (int i = 0; i < 100'000; ++i) {
        formats.Next([&common](const char* format, auto... values) {
            char expected[kSize];
            const int length = std::snprintf(expected, sizeof expected, format, values...);
            const CommonText result = Common(format, values...);
            if (result.common) {
                ++common;
                ASSERT_EQ(result.text, std::string(expected, static_cast<size_t>(length)))
                    << format;
            }
        });
    }
    EXPECT_GT(common, 50'000u);
}

TEST(CommonFormat, LeavesTheRestToTheCLibrary) {
    const char* const null = nullptr;
    EXPECT_FALSE(Common("%s", null).common);
    EXPECT_FALSE(Common("%p", null).common);
    EXPECT_FALSE(Common("%c", '\0').common);
    EXPECT_FALSE(Common("%3c", '\0').common);
    EXPECT_FALSE(Common("%f", HUGE_VAL).common);
    EXPECT_FALSE(Common("%f", std::nan("")).common);
    EXPECT_FALSE(Common("%f", 1e18).common);
    EXPECT_FALSE(Common("%.31f", 1.0).common);
    EXPECT_FALSE(Common("%Lf", 1.0L).common);
    EXPECT_FALSE(Common("%a|%E|%G|%F", 1.0, 1.0, 1.0, 1.0).common);
    EXPECT_FALSE(Common("%o", 8).common);
    EXPECT_FALSE(Common("%#x", 8).common);
    EXPECT_FALSE(Common("%'d", 8).common);
    EXPECT_FALSE(Common("%ls", L"wide").common);
    EXPECT_FALSE(Common("%1$d", 8).common);
    EXPECT_FALSE(Common("%5000d", 8).common);
    EXPECT_FALSE(Common("%.5000d", 8).common);
    EXPECT_FALSE(Common("%hf", 1.0).common);
    EXPECT_FALSE(Common("%d %n", 8, nullptr).common);
    EXPECT_FALSE(Common("%", 8).common);
    EXPECT_FALSE(Common("%5%").common);
    EXPECT_FALSE(Common("%y", 8).common);
}

TEST(CommonFormat, LeavesATextThatDoesNotFitToTheCLibrary) {
    const auto inRoom = [](size_t room, const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const CommonText result = Format(room, format, arguments);
        va_end(arguments);
        return result.common;
    };
    EXPECT_TRUE(inRoom(5, "abcde"));
    EXPECT_FALSE(inRoom(4, "abcde"));
    EXPECT_TRUE(inRoom(5, "%s", "abcde"));
    EXPECT_FALSE(inRoom(4, "%s", "abcde"));
    EXPECT_FALSE(inRoom(4, "%5d", 1));
    EXPECT_FALSE(inRoom(4, "%d", 12345));
    EXPECT_FALSE(inRoom(4, "%.3f", 1.0));
}

TEST(CommonFormat, LeavesOtherRoundingModesToTheCLibrary) {
    ASSERT_EQ(std::fesetround(FE_UPWARD), 0);
    EXPECT_FALSE(Common("%.1f", 0.25).common);
    ASSERT_EQ(std::fesetround(FE_TONEAREST), 0);
    EXPECT_TRUE(Common("%.1f", 0.25).common);
}

#pragma GCC diagnostic pop

}  // namespace
}  // namespace NS_LOG_SERVICE1
