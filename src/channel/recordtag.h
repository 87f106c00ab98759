// The lines that open and close a record's frame, and show its number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "base/copytext.h"

namespace NS_LOG_SERVICE1 {

// Each function returns the end of what it has written.

inline char* Put(char* at, std::string_view text) {
    return CopyText(at, text.data(), text.size());
}

inline char* PutTag(char* at, std::string_view number) {
    return Put(Put(Put(at, "<"), number), ">\n");
}
constexpr size_t kTagMarks = sizeof "<>\n" - 1;
constexpr size_t kMostTagSize = kTagMarks + std::numeric_limits<uint32_t>::digits10 + 1;

inline char* PutClosingTag(char* at, std::string_view number) {
    return Put(Put(Put(at, "</"), number), ">\n\n");
}

}  // namespace NS_LOG_SERVICE1
