#include "base/fixedpoint.h"

#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

namespace NS_LOG_SERVICE1 {

namespace {

constexpr uint64_t kPowers[] = {1,      10,      100,      1000,      10000,
                                100000, 1000000, 10000000, 100000000, 1000000000};

// Of a number of 64 bits.
constexpr int kIntegerDigits = std::numeric_limits<uint64_t>::digits10 + 1;

// Writes `number` divided by 10 to the power of `precision`.
char* WriteDecimals(uint64_t number, int precision, char* out) {
    const uint64_t power = kPowers[precision];
    uint64_t decimals = number % power;
    out = std::to_chars(out, out + kIntegerDigits, number / power).ptr;
    if (precision == 0) {
        return out;
    }
    *out++ = '.';
    for (char* digit = out + precision; digit != out; decimals /= 10) {
        *--digit = static_cast<char>('0' + decimals % 10);
    }
    return out + precision;
}

}  // namespace

char* WriteFixedPoint(double value, int precision, char* out) {
    if (precision >= static_cast<int>(std::size(kPowers))) {
        return nullptr;
    }
    constexpr int kMantissaBits = 52;
    constexpr int kExponentBias = 1023;
    constexpr int kMostShift = 96;  // mantissa times power takes 83 bits
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    const int shift = kMantissaBits + kExponentBias - static_cast<int>(bits >> kMantissaBits);
    const uint64_t leading = uint64_t{1} << kMantissaBits;
    const uint64_t mantissa = (bits & (leading - 1)) | leading;
    if (shift < 0 || shift > kMostShift) {
        return nullptr;
    }
    __extension__ using Wide = unsigned __int128;
    const Wide scaled = static_cast<Wide>(mantissa) * kPowers[precision];
    const Wide unit = static_cast<Wide>(1) << shift;
    const Wide wideQuotient = scaled >> shift;
    if (wideQuotient >= std::numeric_limits<uint64_t>::max()) {
        return nullptr;
    }
    auto quotient = static_cast<uint64_t>(wideQuotient);
    const Wide twiceRest = (scaled & (unit - 1)) << 1;
    if (twiceRest > unit || (twiceRest == unit && (quotient & 1) != 0)) {
        ++quotient;
    }
    return WriteDecimals(quotient, precision, out);
}

}  // namespace NS_LOG_SERVICE1
