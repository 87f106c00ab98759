// The decimal digits of an integer.
#include "base/digits.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace NS_LOG_SERVICE1 {
namespace {

// What is next to a change in the number of digits or bits.
std::vector<uint64_t> Numbers() {
    std::vector<uint64_t> numbers{0, std::numeric_limits<uint64_t>::max()};
    const auto addAround = [&numbers](uint64_t number) {
        numbers.insert(numbers.end(), {number - 1, number, number + 1});
    };
    for (const uint64_t power : kPowersOfTen) {
        addAround(power);
    }
    for (int bit = 0; bit < 64; ++bit) {
        addAround(uint64_t{1} << bit);
    }
    return numbers;
}

TEST(Digits, AreThoseOfTheNumber) {
    for (const uint64_t number : Numbers()) {
        char text[20];
        const char* const end = WriteDecimal(number, text);
        EXPECT_EQ(std::string(text, static_cast<size_t>(end - text)), std::to_string(number));
        EXPECT_EQ(CountDigits(number), std::to_string(number).size());
    }
}

TEST(Digits, AreTheLastOnesWithZerosInFront) {
    for (const uint64_t number : Numbers()) {
        const std::string whole = std::string(21, '0') + std::to_string(number);
        for (size_t count = 0; count <= 21; ++count) {
            std::string text(count, 'x');
            WriteDigits(number, count, text.data());
            EXPECT_EQ(text, whole.substr(whole.size() - count)) << number;
        }
    }
}

}  // namespace
}  // namespace NS_LOG_SERVICE1
