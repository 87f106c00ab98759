#include "base/boundedstring.h"

#include <safe_str_lib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/commonformat.h"

namespace {

// The library's names are macros, which are undefined below. These functions still reach it.
int LibraryVsnprintf(char* buffer, size_t size, const char* format, va_list arguments) {
    return vsnprintf_s(buffer, size, format, arguments);
}

errno_t LibraryStrncpy(char* buffer, size_t size, const char* source, size_t length) {
    return strncpy_s(buffer, size, source, length);
}

}  // namespace

#undef vsnprintf_s
#undef snprintf_s
#undef strncpy_s

namespace NS_LOG_SERVICE1 {
namespace {

// Above this size the library refuses to copy.
constexpr size_t kLibraryCopySize = 32768;

// How many characters may stand in the buffer, the zero byte not counted. `size` is not 0.
size_t Room(size_t size, size_t limit) {
    return std::min(size - 1, limit);
}

// The characters that may stand between '%' and 'n': flags, argument number, width, precision and
// length modifiers, also those of newer C libraries ("w32"). This is a table because every message
// of a client is searched.
constexpr std::array<bool, 256> MakeModifiers() {
    std::array<bool, 256> modifiers{};
    for (const char modifier : std::string_view("0123456789$-+ #'I*.hlLqjzZtw")) {
        modifiers[static_cast<unsigned char>(modifier)] = true;
    }
    return modifiers;
}
constexpr std::array<bool, 256> kModifiers = MakeModifiers();

bool HasCountConversion(const char* format) {
    for (const char* at = std::strchr(format, '%'); at != nullptr; at = std::strchr(at, '%')) {
        ++at;
        while (kModifiers[static_cast<unsigned char>(*at)] || (*at == 'f' && at[-1] == 'w')) {
            ++at;
        }
        if (*at == 'n') {
            return true;
        }
        at += *at != '\0' ? 1 : 0;
    }
    return false;
}

}  // namespace

int FormatWithLibrary(char* buffer, size_t room, const char* format, va_list arguments) {
    buffer[0] = '\0';
    if (HasCountConversion(format)) {
        return -1;
    }
    const int written = std::vsnprintf(buffer, room + 1, format, arguments);
    const bool isWhole = written >= 0 && static_cast<size_t>(written) <= room;
    return isWhole ? static_cast<int>(std::strlen(buffer)) : -1;
}

int snprintf_s(char* buffer, size_t size, size_t limit, const char* format, ...) {
    if (size == 0) {
        return -1;
    }
    const size_t room = Room(size, limit);
    va_list arguments;
    va_start(arguments, format);
    const int written = LibraryVsnprintf(buffer, room + 1, format, arguments);
    va_end(arguments);
    // The library reports some cuts by the length that would have been needed.
    if (written < 0 || static_cast<size_t>(written) > room) {
        buffer[0] = '\0';
        return -1;
    }
    return written;
}

int strncpy_s(char* buffer, size_t size, const char* source, size_t limit) {
    if (size == 0) {
        return ESZEROL;
    }
    const size_t length = strnlen(source, limit);
    if (length >= size) {
        buffer[0] = '\0';
        return ESNOSPC;
    }
    if (size <= kLibraryCopySize) {
        return LibraryStrncpy(buffer, size, source, length);
    }
    std::memcpy(buffer, source, length);
    buffer[length] = '\0';
    return EOK;
}

}  // namespace NS_LOG_SERVICE1
