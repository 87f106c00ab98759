#include "base/conversion.h"

// The analyser loses sight of a va_list that is handed on by reference.
// NOLINTBEGIN(clang-analyzer-valist.Uninitialized)

namespace NS_LOG_SERVICE1 {
namespace {

// Beyond this the C library is as good.
constexpr int kMostWidth = 4096;

// Returns false for a flag that is left to the C library.
bool ParseFlags(const char*& format, Conversion& conversion) {
    for (;; ++format) {
        switch (*format) {
            case '-':
                conversion.left = true;
                break;
            case '+':
                conversion.plus = true;
                break;
            case ' ':
                conversion.blank = true;
                break;
            case '0':
                conversion.zero = true;
                break;
            case '#':
            case '\'':
            case 'I':
                return false;
            default:
                return true;
        }
    }
}

// Digits, or an asterisk for an argument; nothing leaves `number` alone.
bool ParseNumber(const char*& format, FormatArguments& arguments, int& number) {
    if (*format == '*') {
        ++format;
        number = va_arg(arguments.list, int);
        return true;
    }
    if (*format < '0' || *format > '9') {
        return true;
    }
    number = 0;
    for (; *format >= '0' && *format <= '9'; ++format) {
        number = 10 * number + (*format - '0');
        if (number > kMostWidth) {
            return false;
        }
    }
    return *format != '$';
}

bool ParseSizes(const char*& format, FormatArguments& arguments, Conversion& conversion) {
    if (!ParseNumber(format, arguments, conversion.width)) {
        return false;
    }
    if (conversion.width < 0) {
        if (conversion.width < -kMostWidth) {
            return false;
        }
        conversion.left = true;
        conversion.width = -conversion.width;
    }
    if (*format == '.') {
        ++format;
        conversion.precision = 0;
        if (!ParseNumber(format, arguments, conversion.precision)) {
            return false;
        }
        if (conversion.precision < 0) {
            conversion.precision = kNoPrecision;
        }
    }
    return conversion.width <= kMostWidth;
}

void ParseLength(const char*& format, Conversion& conversion) {
    switch (*format) {
        case 'l':
            conversion.length =
                format[1] == 'l' ? ConversionLength::kLongLong : ConversionLength::kLong;
            break;
        case 'h':
            conversion.length =
                format[1] == 'h' ? ConversionLength::kChar : ConversionLength::kShort;
            break;
        case 'z':
            conversion.length = ConversionLength::kSize;
            break;
        case 'j':
            conversion.length = ConversionLength::kMax;
            break;
        case 't':
            conversion.length = ConversionLength::kPointerDifference;
            break;
        default:
            return;
    }
    format += conversion.length == ConversionLength::kLongLong ||
                      conversion.length == ConversionLength::kChar
                  ? 2
                  : 1;
}

}  // namespace

bool ParseConversion(const char*& format, FormatArguments& arguments, Conversion& conversion) {
    if (!ParseFlags(format, conversion) || !ParseSizes(format, arguments, conversion)) {
        return false;
    }
    ParseLength(format, conversion);
    return true;
}

}  // namespace NS_LOG_SERVICE1

// NOLINTEND(clang-analyzer-valist.Uninitialized)
