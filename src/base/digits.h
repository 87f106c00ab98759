// The decimal digits of an integer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace NS_LOG_SERVICE1 {

// Powers of ten, from 1 on, as far as 64 bits hold them.
constexpr uint64_t kPowersOfTen[] = {1,
                                     10,
                                     100,
                                     1'000,
                                     10'000,
                                     100'000,
                                     1'000'000,
                                     10'000'000,
                                     100'000'000,
                                     1'000'000'000,
                                     10'000'000'000,
                                     100'000'000'000,
                                     1'000'000'000'000,
                                     10'000'000'000'000,
                                     100'000'000'000'000,
                                     1'000'000'000'000'000,
                                     10'000'000'000'000'000,
                                     100'000'000'000'000'000,
                                     1'000'000'000'000'000'000,
                                     10'000'000'000'000'000'000U};

// The two digits of each number below a hundred.
struct DigitPairs {
    constexpr DigitPairs() {
        for (unsigned i = 0; i < 100; ++i) {
            pairs[i][0] = static_cast<char>('0' + i / 10);
            pairs[i][1] = static_cast<char>('0' + i % 10);
        }
    }
    char pairs[100][2] = {};
};
constexpr DigitPairs kDigitPairs;

// How many digits a number has; 0 has one. A bit is worth 1233/4096 of a digit.
inline size_t CountDigits(uint64_t number) {
    const uint64_t atLeastOne = number | 1;  // has as many digits
    const auto bits = static_cast<size_t>(64 - __builtin_clzll(atLeastOne));
    const size_t digits = bits * 1233 / 4096;
    return digits + (atLeastOne >= kPowersOfTen[digits] ? 1 : 0);
}

// Writes the last `count` digits of a number, with zeros in front if it has fewer. Any thread.
template <class Number>
void WriteLastDigits(Number number, size_t count, char* out) {
    for (; count >= 2; number /= 100) {
        count -= 2;
        std::memcpy(out + count, kDigitPairs.pairs[number % 100], 2);
    }
    if (count != 0) {
        *out = static_cast<char>('0' + number % 10);
    }
}

// The same. Most numbers have 32 bits, which are divided with half the instructions.
inline void WriteDigits(uint64_t number, size_t count, char* out) {
    if (number <= std::numeric_limits<uint32_t>::max()) {
        WriteLastDigits(static_cast<uint32_t>(number), count, out);
    } else {
        WriteLastDigits(number, count, out);
    }
}

// Writes a number and returns the end of its text. It takes half the instructions of
// std::to_chars. REQUIRES: room for 20 digits. Any thread.
inline char* WriteDecimal(uint64_t number, char* out) {
    const size_t count = CountDigits(number);
    WriteDigits(number, count, out);
    return out + count;
}

}  // namespace NS_LOG_SERVICE1
