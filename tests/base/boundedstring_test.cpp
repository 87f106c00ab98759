// Formatting and copying that never write past a limit.
#include "base/boundedstring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <string>

namespace NS_LOG_SERVICE1 {
namespace {

constexpr size_t kNoLimit = 100000;

// The formats are what is tested, and some of them are wrong.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

// A buffer of exactly `size` bytes, so that a memory checker sees the first byte behind it.
class Buffer {
  public:
    explicit Buffer(size_t size) : size_(size), bytes_(new char[size]) {
        std::memset(bytes_.get(), 'x', size);
    }
    char* Bytes() { return bytes_.get(); }
    std::string Text() const { return bytes_.get(); }
    bool HoldsAText() const { return std::memchr(bytes_.get(), 0, size_) != nullptr; }

    int Format(size_t limit, const char* format, ...) {
        va_list arguments;
        va_start(arguments, format);
        const int result = vsnprintf_s(bytes_.get(), size_, limit, format, arguments);
        va_end(arguments);
        return result;
    }

  private:
    size_t size_;
    std::unique_ptr<char[]> bytes_;
};

// What the format makes of the arguments, "failed" when it reports a failure.
std::string Formatted(const char* format, ...) {
    char bytes[4096];
    va_list arguments;
    va_start(arguments, format);
    const int result = vsnprintf_s(bytes, sizeof(bytes), sizeof(bytes) - 1, format, arguments);
    va_end(arguments);
    if (result < 0) {
        return "failed";
    }
    EXPECT_EQ(static_cast<size_t>(result), std::strlen(bytes));
    return bytes;
}
#pragma GCC diagnostic pop

TEST(BoundedFormat, PrintsNumbersAsTheStandardSays) {
    EXPECT_EQ(Formatted("%.3f", 1e12), "1000000000000.000");
    EXPECT_EQ(Formatted("%g|%g", 0.0001, 1e20), "0.0001|1e+20");
    EXPECT_EQ(Formatted("%e|%a", 12345.678, 1.0), "1.234568e+04|0x1p+0");
    EXPECT_EQ(Formatted("%.2Lf", 2.5L), "2.50");
    EXPECT_EQ(Formatted("%lld|%llu", LLONG_MIN, ULLONG_MAX),
              "-9223372036854775808|18446744073709551615");
    EXPECT_EQ(Formatted("%zu %td %jd", size_t{7}, ptrdiff_t{-7}, intmax_t{9}), "7 -7 9");
    EXPECT_EQ(Formatted("%hhd|%hd", 300, 70000), "44|4464");
    EXPECT_EQ(Formatted("%#x|%o|%X", 255, 8, 255), "0xff|10|FF");
    EXPECT_EQ(Formatted("%f", 1e300).size(), 308u);
}

TEST(BoundedFormat, PrintsTextsAsTheStandardSays) {
    const std::string empty;
    EXPECT_EQ(Formatted(empty.c_str()), "");
    EXPECT_EQ(Formatted("%5s|%-5s|%.2s|%*d", "ab", "ab", "abcd", 4, 7), "   ab|ab   |ab|   7");
    EXPECT_EQ(Formatted("%2$s %1$s", "world", "hello"), "hello world");
    EXPECT_EQ(Formatted("%1$s %1$s", "twice"), "twice twice");
    EXPECT_EQ(Formatted("%s", static_cast<const char*>(nullptr)), "(null)");
    EXPECT_EQ(Formatted("%c%%%c", 'a', 'b'), "a%b");
    EXPECT_EQ(Formatted("%ls", L"wide"), "wide");
    EXPECT_EQ(Formatted("%s%s", "100%n", ""), "100%n");
}

TEST(BoundedFormat, CountsUpToTheFirstZeroByte) {
    Buffer buffer(100);
    EXPECT_EQ(buffer.Format(kNoLimit, "ab%cd", '\0'), 2);
    EXPECT_EQ(buffer.Text(), "ab");
    EXPECT_EQ(buffer.Format(kNoLimit, "%c", '\0'), 0);
}

struct Limits {
    size_t size;
    size_t limit;
    const char* text;
    const char* kept;
};

// Whichever of buffer and limit is tighter holds.
TEST(BoundedFormat, KeepsWhatFitsAndReportsWhatIsCut) {
    for (const Limits& c : {Limits{6, kNoLimit, "12345", "12345"},
                            {6, kNoLimit, "123456", "12345"},
                            {100, 5, "12345", "12345"},
                            {100, 4, "12345", "1234"},
                            {100, 0, "1", ""},
                            {100, 0, "", ""},
                            {4, SIZE_MAX, "12345", "123"},
                            {4, 4, "12345", "123"},
                            {1, kNoLimit, "1", ""},
                            {1, 5, "", ""}}) {
        SCOPED_TRACE(std::to_string(c.size) + " bytes, limit " + std::to_string(c.limit));
        Buffer buffer(c.size);
        const int result = buffer.Format(c.limit, "%s", c.text);
        EXPECT_EQ(buffer.Text(), c.kept);
        if (std::strlen(c.text) == std::strlen(c.kept)) {
            EXPECT_EQ(result, static_cast<int>(std::strlen(c.text)));
        } else {
            EXPECT_LT(result, 0);
        }
        EXPECT_TRUE(c.size < 100 || buffer.Bytes()[99] == 'x');
    }
    Buffer buffer(6);
    EXPECT_LT(buffer.Format(kNoLimit, "%s:%d", "abc", 1234), 0);
    EXPECT_EQ(buffer.Text(), "abc:1");
}

TEST(BoundedFormat, FailsWithoutAFormatOrABuffer) {
    Buffer buffer(10);
    EXPECT_LT(buffer.Format(kNoLimit, nullptr), 0);
    EXPECT_EQ(buffer.Text(), "");
    char byte = 'x';
    Buffer none(0);
    EXPECT_LT(none.Format(kNoLimit, "%s", "text"), 0);
    EXPECT_LT(snprintf_s(&byte, 0, 5, "%d", 1), 0);
    EXPECT_NE(strncpy_s(&byte, 0, "a", 1), 0);
    EXPECT_EQ(byte, 'x');
}

// A character that the locale cannot show, and a text whose length no int counts.
TEST(BoundedFormat, EndsTheTextOfAConversionThatFails) {
    Buffer buffer(10);
    EXPECT_LT(buffer.Format(kNoLimit, "ab%ls", L"\x4e2d"), 0);
    EXPECT_TRUE(buffer.HoldsAText());
    Buffer other(10);
    EXPECT_LT(other.Format(kNoLimit, "%2147483648d", 1), 0);
    EXPECT_TRUE(other.HoldsAText());
}

class RefusedFormat : public ::testing::TestWithParam<const char*> {};

TEST_P(RefusedFormat, WritesThroughNoPointerAndLeavesNoText) {
    Buffer buffer(100);
    long long target[4] = {77, 77, 77, 77};
    EXPECT_LT(buffer.Format(kNoLimit, GetParam(), &target[0], &target[1], &target[2], &target[3]),
              0);
    EXPECT_EQ(buffer.Text(), "");
    for (const long long value : target) {
        EXPECT_EQ(value, 77);
    }
}

INSTANTIATE_TEST_SUITE_P(EverySpellingOfN, RefusedFormat,
                         ::testing::Values("%n", "%hn", "%hhn", "%ln", "%lln", "%jn", "%zn", "%tn",
                                           "%qn", "%Ln", "%Zn", "%1$n", "%2$n", "%12$n", "%1$hhn",
                                           "%5n", "%-n", "%05n", "%+n", "% n", "%#n", "%'n", "%In",
                                           "%-+ #0'n", "%.n", "%.3n", "%10.3lln", "%1$5n", "text%n",
                                           "%ntext", "%p%n", "%%%n", "%%%%%n", "%n%%", "%1$p%2$n",
                                           "%%n%n", "a\n%n", "%w32n", "%wf8n", "%1$w64n"));

INSTANTIATE_TEST_SUITE_P(EverySpellingWithAStar, RefusedFormat,
                         ::testing::Values("%*n", "%.*n", "%*.*n", "%-*n", "%*1$n", "%2$*1$n",
                                           "%2$.*1$n", "%3$*1$.*2$n", "%*lln"));

TEST(BoundedFormat, DoesNotTakeAPercentSignAndAnNForAConversion) {
    EXPECT_EQ(Formatted("%%n"), "%n");
    EXPECT_EQ(Formatted("%%%%n"), "%%n");
    EXPECT_EQ(Formatted("%d%%n", 5), "5%n");
    EXPECT_EQ(Formatted("%sn", "a"), "an");
    EXPECT_EQ(Formatted("%5dn", 7), "    7n");
    EXPECT_EQ(Formatted("%ldn%%hn", 7L), "7n%hn");
    EXPECT_EQ(Formatted("%%%dn", 7), "%7n");
    EXPECT_EQ(Formatted("nnn\n"), "nnn\n");
}

TEST(BoundedOwnText, IsFormattedWhereItFitsAndEmptyWhereItDoesNot) {
    Buffer buffer(8);
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 7, "%s", ""), 0);
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 7, "%d-%s", 123, "abc"), 7);
    EXPECT_EQ(buffer.Text(), "123-abc");
    EXPECT_LT(snprintf_s(buffer.Bytes(), 8, 500, "%d", 12345678), 0);
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 500, "%ld", -99999L), 6);
    EXPECT_EQ(buffer.Text(), "-99999");
    EXPECT_LT(snprintf_s(buffer.Bytes(), 8, 2, "%d", 123), 0);
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 3, "%d", 123), 3);
    EXPECT_EQ(buffer.Text(), "123");
}

TEST(BoundedCopy, EndsAtTheZeroByteOrTheLimitAndIsEmptyWhereItDoesNotFit) {
    for (const Limits& c : {Limits{8, 7, "abc", "abc"},
                            {8, 3, "abcdefghij", "abc"},
                            {8, 0, "abc", ""},
                            {8, 5000, "abc", "abc"},
                            {4, 4, "abc", "abc"},
                            {4, 3, "abcd", "abc"},
                            {4, 4, "abcd", nullptr}}) {
        SCOPED_TRACE(std::string(c.text) + ", limit " + std::to_string(c.limit));
        Buffer buffer(c.size);
        const int result = strncpy_s(buffer.Bytes(), c.size, c.text, c.limit);
        EXPECT_EQ(result == 0, c.kept != nullptr);
        EXPECT_EQ(buffer.Text(), c.kept != nullptr ? c.kept : "");
    }
}

TEST(BoundedCopy, DoesNotReadBeyondTheLimit) {
    const std::unique_ptr<char[]> source(new char[5]);
    std::memcpy(source.get(), "abcde", 5);
    Buffer buffer(6);
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 6, source.get(), 5), 0);
    EXPECT_EQ(buffer.Text(), "abcde");
}

// Around the sizes at which the library gives up.
TEST(BoundedCopy, FitsABufferOneByteLargerAndNoSmallerOne) {
    for (const size_t size : {1u, 2u, 4095u, 4096u, 32766u, 32767u, 32768u, 32769u, 65535u, 65536u,
                              131072u, 1000000u}) {
        SCOPED_TRACE(size);
        const std::string source(size, 'a');
        for (const size_t spare : {1u, 100u}) {
            Buffer buffer(size + spare);
            EXPECT_EQ(strncpy_s(buffer.Bytes(), size + spare, source.c_str(), size + spare - 1), 0);
            EXPECT_EQ(buffer.Text(), source);
        }
        Buffer smaller(size);
        EXPECT_NE(strncpy_s(smaller.Bytes(), size, source.c_str(), size), 0);
        EXPECT_EQ(smaller.Text(), "");
        EXPECT_EQ(strncpy_s(smaller.Bytes(), size, source.c_str(), size - 1), 0);
        EXPECT_EQ(smaller.Text(), source.substr(1));
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
