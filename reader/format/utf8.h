// Characters of UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace NS_LOG_READER {

// What stands for bytes that are no character.
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

// The length of the character at the beginning of the text, in bytes; 0: none is there. What is
// longer than it need be, half of a surrogate pair, or beyond U+10FFFF is none.
inline size_t CharacterLength(std::string_view text) {
    const auto byteAt = [&](size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
    };
    const auto follows = [&](size_t at) { return (byteAt(at) & 0xC0U) == 0x80U; };
    const unsigned first = byteAt(0);
    const unsigned second = byteAt(1);
    if (first < 0x80) {
        return text.empty() ? 0 : 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return follows(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool isOverlong = first == 0xE0 && second < 0xA0;
        const bool isSurrogate = first == 0xED && second > 0x9F;
        return follows(1) && follows(2) && !isOverlong && !isSurrogate ? 3 : 0;
    }
    const bool isOutside = (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    const bool isLong = first >= 0xF0 && first <= 0xF4 && follows(1) && follows(2) && follows(3);
    return isLong && !isOutside ? 4 : 0;
}

}  // namespace NS_LOG_READER
