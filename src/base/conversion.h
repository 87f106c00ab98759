// What stands between the '%' and the letter of a format's conversion.
#pragma once

#include <cstdarg>

namespace NS_LOG_SERVICE1 {

enum class ConversionLength {
    kInt,
    kChar,
    kShort,
    kLong,
    kLongLong,
    kSize,
    kMax,
    kPointerDifference
};

constexpr int kNoPrecision = -1;

struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool zero = false;
    int width = 0;
    int precision = kNoPrecision;
    ConversionLength length = ConversionLength::kInt;
};

// A va_list that can be handed on by reference whatever it is on this platform.
struct FormatArguments {
    va_list list;
};

// Reads flags, width, precision and length, and moves `format` past them. Takes the arguments of
// asterisks. Returns false for what is left to the C library: rare flags, numbered arguments, and
// a width beyond 4096.
bool ParseConversion(const char*& format, FormatArguments& arguments, Conversion& conversion);

}  // namespace NS_LOG_SERVICE1
