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

class CommonFormatter {
  public:
    CommonFormatter(char* buffer, size_t room) : at_(buffer), end_(buffer + room) {}

    // Where the text ends, or null for a text that is not common.
    char* Format(const char* format, FormatArguments& arguments);

  private:
    bool Literal(const char* text, size_t length);
    bool Convert(const char*& format, FormatArguments& arguments);
    bool ConvertAny(const char*& format, FormatArguments& arguments);
    bool Signed(const Conversion& conversion, FormatArguments& arguments);
    bool Unsigned(const Conversion& conversion, FormatArguments& arguments, int base,
                  bool upperCase);
    bool Integer(const Conversion& conversion, std::string_view sign, uint64_t magnitude, int base,
                 bool upperCase);
    bool PlainDecimal(bool negative, uint64_t magnitude);
    bool PlainFloating(double value, std::chars_format format, int precision);
    bool Floating(const Conversion& conversion, FormatArguments& arguments,
                  std::chars_format format);
    bool PaddedFloating(const Conversion& conversion, double value, std::chars_format format,
                        int precision);
    bool String(const Conversion& conversion, FormatArguments& arguments);
    bool Character(const Conversion& conversion, FormatArguments& arguments);
    bool Pointer(const Conversion& conversion, FormatArguments& arguments);

    // Whether a number can be written where it belongs: no width, no sign but a minus, and room for
    // any number.
    bool IsPlain(const Conversion& conversion) const {
        return conversion.width == 0 && !conversion.plus && !conversion.blank && HasRoomForNumber();
    }
    bool HasRoomForNumber() const { return static_cast<size_t>(end_ - at_) > kMostDigits; }

    // `prefix`, then `zeros` zeros, then `body`, padded to the width.
    bool Padded(const Conversion& conversion, std::string_view prefix, size_t zeros,
                std::string_view body);

    char* at_;
    char* end_;
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

// Whether the C library would write the value with the digits that WriteDigits gives it.
bool IsLikeLibrary(double value) {
    const char* point = nl_langinfo(RADIXCHAR);
    return std::fabs(value) < kMostMagnitude && point[0] == '.' && point[1] == '\0' &&
           RoundsToNearest();
}

// REQUIRES: room for kMostDigits.
char* WriteDigits(double value, std::chars_format format, int precision, char* out) {
    if (format == std::chars_format::fixed) {
        if (char* const end = WriteFixedPoint(value, precision, out)) {
            return end;
        }
    }
    return std::to_chars(out, out + kMostDigits, value, format, precision).ptr;
}

char* CommonFormatter::Format(const char* format, FormatArguments& arguments) {
    for (;;) {
        const char* next = strchrnul(format, '%');
        if (!Literal(format, static_cast<size_t>(next - format))) {
            return nullptr;
        }
        if (*next == '\0') {
            return at_;
        }
        format = next + 1;
        if (!Convert(format, arguments)) {
            return nullptr;
        }
    }
}

bool CommonFormatter::Literal(const char* text, size_t length) {
    if (static_cast<size_t>(end_ - at_) < length) {
        return false;
    }
    at_ = CopyText(at_, text, length);
    return true;
}

// Most conversions are a bare d or s, or an f with a precision of one digit.
bool CommonFormatter::Convert(const char*& format, FormatArguments& arguments) {
    if (!HasRoomForNumber()) {
        return ConvertAny(format, arguments);
    }
    if (format[0] == 'd') {
        ++format;
        const int value = va_arg(arguments.list, int);
        return PlainDecimal(value < 0, Magnitude(value));
    }
    if (format[0] == 's') {
        ++format;
        const char* text = va_arg(arguments.list, const char*);
        return text != nullptr && Literal(text, std::strlen(text));
    }
    if (format[0] == '.' && format[1] >= '0' && format[1] <= '9' && format[2] == 'f') {
        const int precision = format[1] - '0';
        format += 3;
        const double value = va_arg(arguments.list, double);
        return IsLikeLibrary(value) && PlainFloating(value, std::chars_format::fixed, precision);
    }
    return ConvertAny(format, arguments);
}

bool CommonFormatter::ConvertAny(const char*& format, FormatArguments& arguments) {
    Conversion conversion;
    if (!ParseConversion(format, arguments, conversion)) {
        return false;
    }
    switch (*format++) {
        case 'd':
        case 'i':
            return Signed(conversion, arguments);
        case 'u':
            return Unsigned(conversion, arguments, 10, false);
        case 'x':
            return Unsigned(conversion, arguments, 16, false);
        case 'X':
            return Unsigned(conversion, arguments, 16, true);
        case 's':
            return String(conversion, arguments);
        case 'c':
            return Character(conversion, arguments);
        case 'p':
            return Pointer(conversion, arguments);
        case 'f':
            return Floating(conversion, arguments, std::chars_format::fixed);
        case 'e':
            return Floating(conversion, arguments, std::chars_format::scientific);
        case 'g':
            return Floating(conversion, arguments, std::chars_format::general);
        case '%':
            return format[-2] == '%' && Literal("%", 1);
        default:
            return false;
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

bool CommonFormatter::Signed(const Conversion& conversion, FormatArguments& arguments) {
    const int64_t value = TakeSigned(conversion.length, arguments);
    const uint64_t magnitude = Magnitude(value);
    if (conversion.precision == kNoPrecision && IsPlain(conversion)) {
        return PlainDecimal(value < 0, magnitude);
    }
    return Integer(conversion, SignOf(conversion, value < 0), magnitude, 10, false);
}

// REQUIRES: room for any number.
bool CommonFormatter::PlainDecimal(bool negative, uint64_t magnitude) {
    if (negative) {
        *at_++ = '-';
    }
    at_ = std::to_chars(at_, end_, magnitude).ptr;
    return true;
}

bool CommonFormatter::Unsigned(const Conversion& conversion, FormatArguments& arguments, int base,
                               bool upperCase) {
    const uint64_t value = TakeUnsigned(conversion.length, arguments);
    if (base == 10 && conversion.precision == kNoPrecision && IsPlain(conversion)) {
        return PlainDecimal(false, value);
    }
    return Integer(conversion, "", value, base, upperCase);
}

bool CommonFormatter::Integer(const Conversion& conversion, std::string_view sign,
                              uint64_t magnitude, int base, bool upperCase) {
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
        return Padded(conversion, sign, ZerosToWidth(conversion, sign.size() + body.size()), body);
    }
    // No digits at all for a zero of which none are wanted.
    const auto least = static_cast<size_t>(conversion.precision);
    body = magnitude == 0 && least == 0 ? body.substr(0, 0) : body;
    return Padded(conversion, sign, least > body.size() ? least - body.size() : 0, body);
}

bool CommonFormatter::Floating(const Conversion& conversion, FormatArguments& arguments,
                               std::chars_format format) {
    if (conversion.length != ConversionLength::kInt &&
        conversion.length != ConversionLength::kLong) {
        return false;
    }
    const double value = va_arg(arguments.list, double);
    const int precision =
        conversion.precision == kNoPrecision ? kDefaultPrecision : conversion.precision;
    if (precision > kMostPrecision || !IsLikeLibrary(value)) {
        return false;
    }
    return IsPlain(conversion) ? PlainFloating(value, format, precision)
                               : PaddedFloating(conversion, value, format, precision);
}

// REQUIRES: room for kMostDigits.
bool CommonFormatter::PlainFloating(double value, std::chars_format format, int precision) {
    if (std::signbit(value)) {
        *at_++ = '-';
    }
    at_ = WriteDigits(std::fabs(value), format, precision, at_);
    return true;
}

bool CommonFormatter::PaddedFloating(const Conversion& conversion, double value,
                                     std::chars_format format, int precision) {
    const std::string_view sign = SignOf(conversion, std::signbit(value));
    char digits[kMostDigits];
    const char* const digitsEnd = WriteDigits(std::fabs(value), format, precision, digits);
    const std::string_view body(digits, static_cast<size_t>(digitsEnd - digits));
    return Padded(conversion, sign, ZerosToWidth(conversion, sign.size() + body.size()), body);
}

bool CommonFormatter::String(const Conversion& conversion, FormatArguments& arguments) {
    const char* text = va_arg(arguments.list, const char*);
    if (text == nullptr || conversion.length != ConversionLength::kInt || conversion.zero) {
        return false;
    }
    const size_t length = conversion.precision == kNoPrecision
                              ? std::strlen(text)
                              : strnlen(text, static_cast<size_t>(conversion.precision));
    return conversion.width == 0 ? Literal(text, length)
                                 : Padded(conversion, "", 0, std::string_view(text, length));
}

bool CommonFormatter::Character(const Conversion& conversion, FormatArguments& arguments) {
    if (conversion.length != ConversionLength::kInt || conversion.zero) {
        return false;
    }
    const auto character = static_cast<char>(va_arg(arguments.list, int));
    return Padded(conversion, "", 0, std::string_view(&character, 1));
}

bool CommonFormatter::Pointer(const Conversion& conversion, FormatArguments& arguments) {
    const void* pointer = va_arg(arguments.list, const void*);
    if (pointer == nullptr || conversion.precision != kNoPrecision || conversion.zero ||
        conversion.plus || conversion.blank || conversion.length != ConversionLength::kInt) {
        return false;
    }
    return Integer(conversion, "0x", reinterpret_cast<uintptr_t>(pointer), 16, false);
}

bool CommonFormatter::Padded(const Conversion& conversion, std::string_view prefix, size_t zeros,
                             std::string_view body) {
    const size_t used = prefix.size() + zeros + body.size();
    const auto width = static_cast<size_t>(conversion.width);
    if (used == body.size() && width <= used) {
        return Literal(body.data(), body.size());
    }
    const size_t blanks = width > used ? width - used : 0;
    if (static_cast<size_t>(end_ - at_) < used + blanks) {
        return false;
    }
    const size_t before = conversion.left ? 0 : blanks;
    std::memset(at_, ' ', before);
    at_ += before;
    std::memcpy(at_, prefix.data(), prefix.size());
    at_ += prefix.size();
    std::memset(at_, '0', zeros);
    at_ += zeros;
    std::memcpy(at_, body.data(), body.size());
    at_ += body.size();
    std::memset(at_, ' ', blanks - before);
    at_ += blanks - before;
    return true;
}

}  // namespace

int FormatCommon(char* buffer, size_t room, const char* format, va_list arguments) {
    FormatArguments copy;
    va_copy(copy.list, arguments);
    char* const end = CommonFormatter(buffer, room).Format(format, copy);
    va_end(copy.list);
    if (end == nullptr) {
        return kNotCommon;
    }
    *end = '\0';
    return static_cast<int>(end - buffer);
}

}  // namespace NS_LOG_SERVICE1

// NOLINTEND(clang-analyzer-valist.Uninitialized,clang-analyzer-core.UndefinedBinaryOperatorResult)
