// Formats made-up values with made-up modifiers and stops at the first difference from the C
// library.
//
// Input: one byte that chooses the conversion, eight bytes of value, then the modifiers.
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "base/commonformat.h"

namespace {

#pragma GCC diagnostic ignored "-Wformat-nonliteral"

constexpr std::size_t kSize = 4096;

void Check(const char* format, ...) {
    char text[kSize];
    char expected[kSize];
    va_list arguments;
    va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = NS_LOG_SERVICE1::FormatCommon(text, kSize - 1, format, arguments);
    if (length != NS_LOG_SERVICE1::kNotCommon) {
        const int right = std::vsnprintf(expected, kSize, format, again);
        if (length != right || std::memcmp(text, expected, static_cast<std::size_t>(right)) != 0) {
            std::fprintf(stderr, "%s: '%s' instead of '%s'\n", format, text, expected);
            std::abort();
        }
    }
    va_end(again);
    va_end(arguments);
}

struct Conversion {
    const char* letters;
    enum { kInt, kLong, kDouble, kText, kPointer } type;
};

constexpr Conversion kConversions[] = {
    {"d", Conversion::kInt},    {"i", Conversion::kInt},    {"u", Conversion::kInt},
    {"x", Conversion::kInt},    {"X", Conversion::kInt},    {"c", Conversion::kInt},
    {"hd", Conversion::kInt},   {"hhu", Conversion::kInt},  {"ld", Conversion::kLong},
    {"lu", Conversion::kLong},  {"lld", Conversion::kLong}, {"llu", Conversion::kLong},
    {"zu", Conversion::kLong},  {"lx", Conversion::kLong},  {"f", Conversion::kDouble},
    {"e", Conversion::kDouble}, {"g", Conversion::kDouble}, {"s", Conversion::kText},
    {"p", Conversion::kPointer}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::uint64_t bits = 0;
    if (size < 1 + sizeof bits || size > 20) {
        return 0;
    }
    const Conversion& conversion = kConversions[data[0] % std::size(kConversions)];
    std::memcpy(&bits, data + 1, sizeof bits);
    std::string format = "a%";
    for (std::size_t i = 1 + sizeof bits; i < size; ++i) {
        if (std::strchr("0123456789-+ .#'", data[i]) != nullptr && data[i] != 0) {
            format += static_cast<char>(data[i]);
        }
    }
    format += std::string(conversion.letters) + "b";
    double number = 0;
    std::memcpy(&number, &bits, sizeof number);
    switch (conversion.type) {
        case Conversion::kInt:
            Check(format.c_str(), static_cast<int>(bits));
            break;
        case Conversion::kLong:
            Check(format.c_str(), static_cast<long>(bits));
            break;
        case Conversion::kDouble:
            Check(format.c_str(), number);
            break;
        case Conversion::kText:
            Check(format.c_str(), std::string(bits % 40, 'x').c_str());
            break;
        case Conversion::kPointer:
            Check(format.c_str(), reinterpret_cast<const void*>(bits));
    }
    return 0;
}
