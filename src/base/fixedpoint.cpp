#include "base/fixedpoint.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "base/copytext.h"
#include "base/digits.h"

namespace NS_LOG_SERVICE1 {

namespace {

constexpr int kMostDecimals = 9;

// Writes `number` divided by 10 to the power of `precision`. The digits are written one place too
// far, and those before the point moved back.
char* WriteDecimals(uint64_t number, size_t precision, char* out) {
    if (precision == 0) {
        return WriteDecimal(number, out);
    }
    const size_t count = std::max(CountDigits(number), precision + 1);
    WriteDigits(number, count, out + 1);
    char* const point = CopyText(out, out + 1, count - precision);
    *point = '.';
    return out + count + 1;
}

// `number` divided by two to the power of `shift`, halves to the even digit.
template <class Number>
Number DivideRounding(Number number, int shift) {
    const Number quotient = number >> shift;
    const Number unit = Number{1} << shift;
    const Number twiceRest = (number & (unit - 1)) << 1;
    const bool up = twiceRest > unit || (twiceRest == unit && (quotient & 1) != 0);
    return quotient + (up ? 1 : 0);
}

}  // namespace

char* WriteFixedPoint(double value, int precision, char* out) {
    if (precision > kMostDecimals) {
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
    const uint64_t power = kPowersOfTen[precision];
    // The usual case: 53 bits times 10 bits, and room for twice the rest.
    constexpr int kShortPrecision = 3;
    constexpr int kShortShift = 62;
    if (precision <= kShortPrecision && shift <= kShortShift) {
        return WriteDecimals(DivideRounding(mantissa * power, shift),
                             static_cast<size_t>(precision), out);
    }
    __extension__ using Wide = unsigned __int128;
    const Wide scaled = static_cast<Wide>(mantissa) * power;
    if (scaled >> shift >= std::numeric_limits<uint64_t>::max()) {
        return nullptr;
    }
    return WriteDecimals(static_cast<uint64_t>(DivideRounding(scaled, shift)),
                         static_cast<size_t>(precision), out);
}

}  // namespace NS_LOG_SERVICE1
