// Formatting and copying that never write past a limit. Only this file uses the bounds-checked
// string library.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstddef>

#include "base/commonformat.h"

namespace NS_LOG_SERVICE1 {

// Common to vsnprintf_s, snprintf_s and strncpy_s: `size` is the size of `buffer`, `limit` is the
// maximum number of characters to write, without the zero byte. The smaller one applies. A size of
// 0 writes nothing and fails. Thread safety: any thread.

// What vsnprintf_s does with a text that is not common. `room` does not count the zero byte.
// REQUIRES: a buffer, and a format.
int FormatWithLibrary(char* buffer, size_t room, const char* format, va_list arguments)
    __attribute__((format(printf, 3, 0)));

// Formats a client's text. Returns its length up to its first zero byte, or a negative number when
// the text was cut or could not be formatted. What fits is kept either way, and ends with a zero
// byte.
// A format with the conversion %n, which would write through a client's pointer, is refused: the
// text is empty then.
//
// Uses the C library: the bounds-checked one prints 1e12 with "%.3f" as 10.000e+11, refuses %Lf and
// %1$s, and empties what it would have to cut.
__attribute__((format(printf, 4, 0))) inline int vsnprintf_s(char* buffer, size_t size,
                                                             size_t limit, const char* format,
                                                             va_list arguments) {
    if (size == 0) {
        return -1;
    }
    buffer[0] = '\0';
    if (format == nullptr) {
        return -1;
    }
    const size_t room = std::min(size - 1, limit);
    const int length = FormatCommon(buffer, room, format, arguments);
    return length != kNotCommon ? length : FormatWithLibrary(buffer, room, format, arguments);
}

// Formats one of the service's own texts, which consist of plain integers and short strings.
// Returns the number of characters written, or a negative number when they do not fit. The text is
// empty then.
int snprintf_s(char* buffer, size_t size, size_t limit, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

// Copies `source` up to its first zero byte, at most `limit` characters of it. Returns 0. When that
// does not fit, returns another value and leaves an empty text in `buffer`.
int strncpy_s(char* buffer, size_t size, const char* source, size_t limit);

}  // namespace NS_LOG_SERVICE1
