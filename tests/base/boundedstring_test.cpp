// Formatting and copying that never write past a limit.
#include "base/boundedstring.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace NS_LOG_SERVICE1 {
namespace {

constexpr size_t kNoLimit = 100000;

// A buffer of exactly `size` bytes, so that a memory checker sees the first byte behind it.
class Buffer {
  public:
    explicit Buffer(size_t size) : size_(size), bytes_(new char[size]) {
        std::memset(bytes_.get(), 'x', size);
    }
    char* Bytes() { return bytes_.get(); }
    size_t Size() const { return size_; }
    std::string Text() const { return bytes_.get(); }

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

TEST(BoundedFormat, PrintsNumbersAsTheStandardSays) {
    EXPECT_EQ(Formatted("%.3f", 1e12), "1000000000000.000");
    EXPECT_EQ(Formatted("%g", 0.0001), "0.0001");
    EXPECT_EQ(Formatted("%g", 1e20), "1e+20");
    EXPECT_EQ(Formatted("%e", 12345.678), "1.234568e+04");
    EXPECT_EQ(Formatted("%a", 1.0), "0x1p+0");
    EXPECT_EQ(Formatted("%.2Lf", 2.5L), "2.50");
    EXPECT_EQ(Formatted("%lld|%llu", LLONG_MIN, ULLONG_MAX),
              "-9223372036854775808|18446744073709551615");
    EXPECT_EQ(Formatted("%zu %td %jd", size_t{7}, ptrdiff_t{-7}, intmax_t{9}), "7 -7 9");
    EXPECT_EQ(Formatted("%hhd|%hd", 300, 70000), "44|4464");
    EXPECT_EQ(Formatted("%#x|%o|%X", 255, 8, 255), "0xff|10|FF");
    EXPECT_EQ(Formatted("%f", 1e300).size(), 308u);
}

TEST(BoundedFormat, PrintsTextsAsTheStandardSays) {
    EXPECT_EQ(Formatted("%5s|%-5s|%.2s|%*d", "ab", "ab", "abcd", 4, 7), "   ab|ab   |ab|   7");
    EXPECT_EQ(Formatted("%2$s %1$s", "world", "hello"), "hello world");
    EXPECT_EQ(Formatted("%1$s %1$s", "twice"), "twice twice");
    EXPECT_EQ(Formatted("%s", static_cast<const char*>(nullptr)), "(null)");
    EXPECT_EQ(Formatted("%c%%%c", 'a', 'b'), "a%b");
    EXPECT_EQ(Formatted("%ls", L"wide"), "wide");
    EXPECT_EQ(Formatted("%s", "100%n"), "100%n");
    EXPECT_EQ(Formatted("%s", ""), "");
}

TEST(BoundedFormat, AcceptsAnEmptyFormat) {
    Buffer buffer(1);
    const std::string empty;
    EXPECT_EQ(buffer.Format(kNoLimit, empty.c_str()), 0);
    EXPECT_EQ(buffer.Text(), "");
}

TEST(BoundedFormat, AcceptsAnExactFit) {
    Buffer buffer(6);
    EXPECT_EQ(buffer.Format(kNoLimit, "%s", "12345"), 5);
    EXPECT_EQ(buffer.Text(), "12345");
}

TEST(BoundedFormat, KeepsWhatFitsOfATextThatIsCut) {
    Buffer buffer(6);
    EXPECT_LT(buffer.Format(kNoLimit, "%s", "123456"), 0);
    EXPECT_EQ(buffer.Text(), "12345");
    EXPECT_LT(buffer.Format(kNoLimit, "%s:%d", "abc", 1234), 0);
    EXPECT_EQ(buffer.Text(), "abc:1");
}

TEST(BoundedFormat, CutsAtTheLimitWhereThatIsTighter) {
    Buffer buffer(100);
    EXPECT_EQ(buffer.Format(5, "%s", "12345"), 5);
    EXPECT_EQ(buffer.Text(), "12345");
    EXPECT_LT(buffer.Format(4, "%s", "12345"), 0);
    EXPECT_EQ(buffer.Text(), "1234");
    EXPECT_LT(buffer.Format(0, "%s", "1"), 0);
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_EQ(buffer.Format(0, "%s", ""), 0);
    EXPECT_EQ(buffer.Bytes()[99], 'x');
}

TEST(BoundedFormat, CutsAtTheBufferWhereThatIsTighter) {
    Buffer buffer(4);
    EXPECT_LT(buffer.Format(SIZE_MAX, "%s", "12345"), 0);
    EXPECT_EQ(buffer.Text(), "123");
    EXPECT_LT(buffer.Format(4, "%s", "12345"), 0);
    EXPECT_EQ(buffer.Text(), "123");
    Buffer one(1);
    EXPECT_LT(one.Format(kNoLimit, "%d", 5), 0);
    EXPECT_EQ(one.Text(), "");
}

TEST(BoundedFormat, FailsWithoutABuffer) {
    char byte = 'x';
    Buffer none(0);
    EXPECT_LT(none.Format(kNoLimit, "%s", "text"), 0);
    EXPECT_LT(snprintf_s(&byte, 0, 5, "%d", 1), 0);
    EXPECT_NE(strncpy_s(&byte, 0, "a", 1), 0);
    EXPECT_EQ(byte, 'x');
}

TEST(BoundedFormat, FailsWithoutAFormat) {
    Buffer buffer(10);
    EXPECT_LT(buffer.Format(kNoLimit, nullptr), 0);
    EXPECT_EQ(buffer.Text(), "");
}

TEST(BoundedFormat, EndsTheTextOfAConversionThatFails) {
    Buffer buffer(10);
    EXPECT_LT(buffer.Format(kNoLimit, "ab%ls", L"\x4e2d"), 0);
    EXPECT_NE(std::memchr(buffer.Bytes(), 0, buffer.Size()), nullptr);
}

TEST(BoundedFormat, ReportsATextThatNoIntCounts) {
    Buffer buffer(10);
    EXPECT_LT(buffer.Format(kNoLimit, "%2147483648d", 1), 0);
    EXPECT_NE(std::memchr(buffer.Bytes(), 0, buffer.Size()), nullptr);
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
                                           "%%n%n", "a\n%n"));

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

TEST(BoundedOwnText, IsFormattedWhereItFits) {
    Buffer buffer(8);
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 7, "%d-%s", 123, "abc"), 7);
    EXPECT_EQ(buffer.Text(), "123-abc");
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 500, "%ld", -99999L), 6);
    EXPECT_EQ(buffer.Text(), "-99999");
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 7, "%u", 4294967u), 7);
    EXPECT_EQ(buffer.Text(), "4294967");
}

TEST(BoundedOwnText, IsEmptyWhereItDoesNotFit) {
    Buffer buffer(8);
    EXPECT_LT(snprintf_s(buffer.Bytes(), 8, 500, "%d", 12345678), 0);
    EXPECT_EQ(buffer.Text(), "");
    std::memset(buffer.Bytes(), 'x', 8);
    EXPECT_LT(snprintf_s(buffer.Bytes(), 8, 2, "%d", 123), 0);
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_EQ(snprintf_s(buffer.Bytes(), 8, 3, "%d", 123), 3);
    EXPECT_EQ(buffer.Text(), "123");
}

TEST(BoundedCopy, EndsAtTheZeroByteOrTheLimit) {
    Buffer buffer(8);
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 8, "abc", 7), 0);
    EXPECT_EQ(buffer.Text(), "abc");
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 8, "abcdefghij", 3), 0);
    EXPECT_EQ(buffer.Text(), "abc");
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 8, "abc", 0), 0);
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 8, "abc", 5000), 0);
    EXPECT_EQ(buffer.Text(), "abc");
}

TEST(BoundedCopy, IsEmptyWhereItDoesNotFit) {
    Buffer buffer(4);
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 4, "abc", 4), 0);
    EXPECT_EQ(buffer.Text(), "abc");
    EXPECT_NE(strncpy_s(buffer.Bytes(), 4, "abcd", 4), 0);
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 4, "abcd", 3), 0);
    EXPECT_EQ(buffer.Text(), "abc");
}

TEST(BoundedCopy, DoesNotReadBeyondTheLimit) {
    const std::unique_ptr<char[]> source(new char[5]);
    std::memcpy(source.get(), "abcde", 5);
    Buffer buffer(6);
    EXPECT_EQ(strncpy_s(buffer.Bytes(), 6, source.get(), 5), 0);
    EXPECT_EQ(buffer.Text(), "abcde");
}

class BoundedCopyOfSize : public ::testing::TestWithParam<size_t> {};

TEST_P(BoundedCopyOfSize, FitsABufferOneByteLargerAndNoSmallerOne) {
    const size_t size = GetParam();
    const std::string source(size, 'a');
    Buffer exact(size + 1);
    EXPECT_EQ(strncpy_s(exact.Bytes(), size + 1, source.c_str(), size), 0);
    EXPECT_EQ(exact.Text(), source);
    Buffer larger(size + 100);
    EXPECT_EQ(strncpy_s(larger.Bytes(), size + 100, source.c_str(), size + 99), 0);
    EXPECT_EQ(larger.Text(), source);
    Buffer smaller(size);
    EXPECT_NE(strncpy_s(smaller.Bytes(), size, source.c_str(), size), 0);
    EXPECT_EQ(smaller.Text(), "");
    EXPECT_EQ(strncpy_s(smaller.Bytes(), size, source.c_str(), size - 1), 0);
    EXPECT_EQ(smaller.Text(), source.substr(1));
}

INSTANTIATE_TEST_SUITE_P(AroundTheLimitsOfTheLibrary, BoundedCopyOfSize,
                         ::testing::Values(1, 2, 4095, 4096, 32766, 32767, 32768, 32769, 65535,
                                           65536, 131072, 1000000));

}  // namespace
}  // namespace NS_LOG_SERVICE1
