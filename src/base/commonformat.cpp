#include "base/commonformat.h"

#include <langinfo.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>
#include <type_traits>

#include "base/conversion.h"
#include "base/copytext.h"
#include "base/digits.h"
#include "base/fixedpoint.h"

// The analyser loses sight of a va_list that is handed on by reference, and of what to_chars
// writes.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized,clang-analyzer-core.UndefinedBinaryOperatorResult)

namespace NS_LOG_SERVICE1 {
namespace {

constexpr int kDefaultPrecision = 6;

// Beyond these the C library is as good.
constexpr int kMostPrecision = 30;
constexpr double kMostMagnitude = 1e18;

// Of a number with at most that precision and magnitude.
constexpr size_t kMostDigits = 64;

// Each function writes at `at` and returns the end of what it has written, which so stays in a
// register; or null for what is not common.
class CommonFormatter {
  public:
    // `end`: of the room.
    explicit CommonFormatter(const char* end) : end_(end) {}

    char* Format(char* at, const char* format, FormatArguments& arguments) const;

  private:
    char* Literal(char* at, const char* text, size_t length) const;
    char* Convert(char* at, const char*& format, FormatArguments& arguments) const;
    char* ConvertAny(char* at, const char*& format, FormatArguments& arguments) const;
    char* Signed(char* at, const Conversion& conversion, FormatArguments& arguments) const;
    char* Unsigned(char* at, const Conversion& conversion, FormatArguments& arguments, int base,
                   bool upperCase) const;
    char* Integer(char* at, const Conversion& conversion, std::string_view sign, uint64_t magnitude,
                  int base, bool upperCase) const;
    char* Floating(char* at, const Conversion& conversion, FormatArguments& arguments,
                   std::chars_format format) const;
    char* PaddedFloating(char* at, const Conversion& conversion, double value,
                         std::chars_format format, int precision) const;
    char* String(char* at, const Conversion& conversion, FormatArguments& arguments) const;
    char* Character(char* at, const Conversion& conversion, FormatArguments& arguments) const;
    char* Pointer(char* at, const Conversion& conversion, FormatArguments& arguments) const;

    // Whether a number can be written where it belongs: no width, no sign but a minus, and room for
    // any number.
    bool IsPlain(const char* at, const Conversion& conversion) const {
        return conversion.width == 0 && !conversion.plus && !conversion.blank &&
               HasRoomForNumber(at);
    }
    bool HasRoomForNumber(const char* at) const { return Room(at) > kMostDigits; }
    size_t Room(const char* at) const { return static_cast<size_t>(end_ - at); }

    // `prefix`, then `zeros` zeros, then `body`, padded to the width.
    char* Padded(char* at, const Conversion& conversion, std::string_view prefix, size_t zeros,
                 std::string_view body) const;

    const char* const end_;
};

std::string_view SignOf(const Conversion& conversion, bool negative) {
    if (negative) {
        return "-";
    }
    if (conversion.plus) {
        return "+";
    }
    return conversion.blank ? " " : "";
}

uint64_t Magnitude(int64_t value) {
    const auto bits = static_cast<uint64_t>(value);
    return value < 0 ? 0 - bits : bits;
}

// The zeros that the flag 0 asks for in front of `used` characters.
size_t ZerosToWidth(const Conversion& conversion, size_t used) {
    const auto width = static_cast<size_t>(conversion.width);
    return conversion.zero && !conversion.left && width > used ? width - used : 0;
}

// What std::fegetround says, which would be a call of another library. In any other mode, one of
// the two sums differs from 1.
bool RoundsToNearest() {
    volatile float little = std::numeric_limits<float>::min();
    return 1.0F + little == 1.0F - little;
}

// Whether the C library would write the value with the digits that WriteFloating gives it.
bool IsLikeLibrary(double value) {
    const char* point = nl_langinfo(RADIXCHAR);
    return std::fabs(value) < kMostMagnitude && point[0] == '.' && point[1] == '\0' &&
           RoundsToNearest();
}

// REQUIRES: room for kMostDigits.
char* WriteFloating(double value, std::chars_format format, int precision, char* out) {
    if (format == std::chars_format::fixed) {
        if (char* const end = WriteFixedPoint(value, precision, out)) {
            return end;
        }
    }
    return std::to_chars(out, out + kMostDigits, value, format, precision).ptr;
}

// REQUIRES: room for any number.
char* PlainDecimal(char* at, bool negative, uint64_t magnitude) {
    if (negative) {
        *at++ = '-';
    }
    return WriteDecimal(magnitude, at);
}

// REQUIRES: room for kMostDigits.
char* PlainFloating(char* at, double value, std::chars_format format, int precision) {
    if (std::signbit(value)) {
        *at++ = '-';
    }
    return WriteFloating(std::fabs(value), format, precision, at);
}

char* CommonFormatter::Format(char* at, const char* format, FormatArguments& arguments) const {
    while (at != nullptr) {
        if (*format != '%') {
            const char* const next = strchrnul(format, '%');
            at = Literal(at, format, static_cast<size_t>(next - format));
            if (at == nullptr || *next == '\0') {
                return at;
            }
            format = next;
        }
        ++format;
        at = Convert(at, format, arguments);
    }
    return nullptr;
}

inline char* CommonFormatter::Literal(char* at, const char* text, size_t length) const {
    return Room(at) < length ? nullptr : CopyText(at, text, length);
}

// Most conversions are a bare d or s, or an f with a precision of one digit.
inline char* CommonFormatter::Convert(char* at, const char*& format,
                                      FormatArguments& arguments) const {
    if (!HasRoomForNumber(at)) {
        return ConvertAny(at, format, arguments);
    }
    if (format[0] == 'd') {
        ++format;
        const int value = va_arg(arguments.list, int);
        return PlainDecimal(at, value < 0, Magnitude(value));
    }
    if (format[0] == 's') {
        ++format;
        const char* text = va_arg(arguments.list, const char*);
        return text == nullptr ? nullptr : Literal(at, text, std::strlen(text));
    }
    if (format[0] == '.' && format[1] >= '0' && format[1] <= '9' && format[2] == 'f') {
        const int precision = format[1] - '0';
        format += 3;
        const double value = va_arg(arguments.list, double);
        return IsLikeLibrary(value) ? PlainFloating(at, value, std::chars_format::fixed, precision)
                                    : nullptr;
    }
    return ConvertAny(at, format, arguments);
}

// Not inlined: seldom called, and large.
__attribute__((noinline)) char* CommonFormatter::ConvertAny(char* at, const char*& format,
                                                            FormatArguments& arguments) const {
    Conversion conversion;
    if (!ParseConversion(format, arguments, conversion)) {
        return nullptr;
    }
    switch (*format++) {
        case 'd':
        case 'i':
            return Signed(at, conversion, arguments);
        case 'u':
            return Unsigned(at, conversion, arguments, 10, false);
        case 'x':
            return Unsigned(at, conversion, arguments, 16, false);
        case 'X':
            return Unsigned(at, conversion, arguments, 16, true);
        case 's':
            return String(at, conversion, arguments);
        case 'c':
            return Character(at, conversion, arguments);
        case 'p':
            return Pointer(at, conversion, arguments);
        case 'f':
            return Floating(at, conversion, arguments, std::chars_format::fixed);
        case 'e':
            return Floating(at, conversion, arguments, std::chars_format::scientific);
        case 'g':
            return Floating(at, conversion, arguments, std::chars_format::general);
        case '%':
            return format[-2] == '%' ? Literal(at, "%", 1) : nullptr;
        default:
            return nullptr;
    }
}

int64_t TakeSigned(ConversionLength length, FormatArguments& arguments) {
    switch (length) {
        case ConversionLength::kInt:
            return va_arg(arguments.list, int);
        case ConversionLength::kChar:
            return static_cast<signed char>(va_arg(arguments.list, int));
        case ConversionLength::kShort:
            return static_cast<short>(va_arg(arguments.list, int));
        default:
            static_assert(sizeof(long) == sizeof(int64_t) && sizeof(size_t) == sizeof(int64_t) &&
                          sizeof(intmax_t) == sizeof(int64_t));
            return va_arg(arguments.list, int64_t);
    }
}

uint64_t TakeUnsigned(ConversionLength length, FormatArguments& arguments) {
    switch (length) {
        case ConversionLength::kInt:
            return va_arg(arguments.list, unsigned int);
        case ConversionLength::kChar:
            return static_cast<unsigned char>(va_arg(arguments.list, int));
        case ConversionLength::kShort:
            return static_cast<unsigned short>(va_arg(arguments.list, int));
        default:
            return va_arg(arguments.list, uint64_t);
    }
}

char* CommonFormatter::Signed(char* at, const Conversion& conversion,
                              FormatArguments& arguments) const {
    const int64_t value = TakeSigned(conversion.length, arguments);
    const uint64_t magnitude = Magnitude(value);
    if (conversion.precision == kNoPrecision && IsPlain(at, conversion)) {
        return PlainDecimal(at, value < 0, magnitude);
    }
    return Integer(at, conversion, SignOf(conversion, value < 0), magnitude, 10, false);
}

char* CommonFormatter::Unsigned(char* at, const Conversion& conversion, FormatArguments& arguments,
                                int base, bool upperCase) const {
    const uint64_t value = TakeUnsigned(conversion.length, arguments);
    if (base == 10 && conversion.precision == kNoPrecision && IsPlain(at, conversion)) {
        return PlainDecimal(at, false, value);
    }
    return Integer(at, conversion, "", value, base, upperCase);
}

char* CommonFormatter::Integer(char* at, const Conversion& conversion, std::string_view sign,
                               uint64_t magnitude, int base, bool upperCase) const {
    char digits[20];
    char* const limit = digits + sizeof digits;
    char* const digitsEnd = base == 10 ? std::to_chars(digits, limit, magnitude).ptr
                                       : std::to_chars(digits, limit, magnitude, base).ptr;
    if (upperCase) {
        for (char* digit = digits; digit != digitsEnd; ++digit) {
            *digit = static_cast<char>(*digit >= 'a' ? *digit - 'a' + 'A' : *digit);
        }
    }
    std::string_view body(digits, static_cast<size_t>(digitsEnd - digits));
    if (conversion.precision == kNoPrecision) {
        return Padded(at, conversion, sign, ZerosToWidth(conversion, sign.size() + body.size()),
                      body);
    }
    // No digits at all for a zero of which none are wanted.
    const auto least = static_cast<size_t>(conversion.precision);
    body = magnitude == 0 && least == 0 ? body.substr(0, 0) : body;
    return Padded(at, conversion, sign, least > body.size() ? least - body.size() : 0, body);
}

char* CommonFormatter::Floating(char* at, const Conversion& conversion, FormatArguments& arguments,
                                std::chars_format format) const {
    if (conversion.length != ConversionLength::kInt &&
        conversion.length != ConversionLength::kLong) {
        return nullptr;
    }
    const double value = va_arg(arguments.list, double);
    const int precision =
        conversion.precision == kNoPrecision ? kDefaultPrecision : conversion.precision;
    if (precision > kMostPrecision || !IsLikeLibrary(value)) {
        return nullptr;
    }
    return IsPlain(at, conversion) ? PlainFloating(at, value, format, precision)
                                   : PaddedFloating(at, conversion, value, format, precision);
}

char* CommonFormatter::PaddedFloating(char* at, const Conversion& conversion, double value,
                                      std::chars_format format, int precision) const {
    const std::string_view sign = SignOf(conversion, std::signbit(value));
    char digits[kMostDigits];
    const char* const digitsEnd = WriteFloating(std::fabs(value), format, precision, digits);
    const std::string_view body(digits, static_cast<size_t>(digitsEnd - digits));
    return Padded(at, conversion, sign, ZerosToWidth(conversion, sign.size() + body.size()), body);
}

char* CommonFormatter::String(char* at, const Conversion& conversion,
                              FormatArguments& arguments) const {
    const char* text = va_arg(arguments.list, const char*);
    if (text == nullptr || conversion.length != ConversionLength::kInt || conversion.zero) {
        return nullptr;
    }
    const size_t length = conversion.precision == kNoPrecision
                              ? std::strlen(text)
                              : strnlen(text, static_cast<size_t>(conversion.precision));
    return conversion.width == 0 ? Literal(at, text, length)
                                 : Padded(at, conversion, "", 0, std::string_view(text, length));
}

char* CommonFormatter::Character(char* at, const Conversion& conversion,
                                 FormatArguments& arguments) const {
    if (conversion.length != ConversionLength::kInt || conversion.zero) {
        return nullptr;
    }
    const auto character = static_cast<char>(va_arg(arguments.list, int));
    if (character == '\0') {
        return nullptr;
    }
    return Padded(at, conversion, "", 0, std::string_view(&character, 1));
}

char* CommonFormatter::Pointer(char* at, const Conversion& conversion,
                               FormatArguments& arguments) const {
    const void* pointer = va_arg(arguments.list, const void*);
    if (pointer == nullptr || conversion.precision != kNoPrecision || conversion.zero ||
        conversion.plus || conversion.blank || conversion.length != ConversionLength::kInt) {
        return nullptr;
    }
    return Integer(at, conversion, "0x", reinterpret_cast<uintptr_t>(pointer), 16, false);
}

char* CommonFormatter::Padded(char* at, const Conversion& conversion, std::string_view prefix,
                              size_t zeros, std::string_view body) const {
    const size_t used = prefix.size() + zeros + body.size();
    const auto width = static_cast<size_t>(conversion.width);
    if (used == body.size() && width <= used) {
        return Literal(at, body.data(), body.size());
    }
    const size_t blanks = width > used ? width - used : 0;
    if (Room(at) < used + blanks) {
        return nullptr;
    }
    const size_t before = conversion.left ? 0 : blanks;
    std::memset(at, ' ', before);
    at += before;
    std::memcpy(at, prefix.data(), prefix.size());
    at += prefix.size();
    std::memset(at, '0', zeros);
    at += zeros;
    std::memcpy(at, body.data(), body.size());
    at += body.size();
    std::memset(at, ' ', blanks - before);
    return at + (blanks - before);
}

}  // namespace

int FormatCommon(char* buffer, size_t room, const char* format, va_list arguments) {
    FormatArguments copy;
    va_copy(copy.list, arguments);
    char* const end = CommonFormatter(buffer + room).Format(buffer, format, copy);
    va_end(copy.list);
    if (end == nullptr) {
        return kNotCommon;
    }
    *end = '\0';
    return static_cast<int>(end - buffer);
}

}  // namespace NS_LOG_SERVICE1

// NOLINTEND(clang-analyzer-valist.Uninitialized,clang-analyzer-core.UndefinedBinaryOperatorResult)
