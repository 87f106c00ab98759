#include "store/columntext.h"

#include <algorithm>

namespace NS_LOG_FLEET {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kZero = "\xE2\x90\x80";

unsigned char ByteAt(std::string_view text, size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// The length of the UTF-8 character at `at`; 0: there is none.
size_t CharacterLength(std::string_view text, size_t at) {
    const unsigned char first = ByteAt(text, at);
    const unsigned char second = ByteAt(text, at + 1);
    const auto follows = [&](size_t i) { return (ByteAt(text, at + i) & 0xC0) == 0x80; };
    if (first < 0x80) {
        return 1;
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

bool IsPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return byte > 0; });
}

}  // namespace

void AppendColumnText(std::string_view text, std::string& out) {
    if (text.size() <= kLongestColumnText && IsPlain(text)) {
        out.append(text);
        return;
    }
    size_t room = kLongestColumnText;
    for (size_t at = 0; at < text.size();) {
        const size_t length = CharacterLength(text, at);
        const std::string_view character = length == 0        ? kReplacement
                                           : text[at] == '\0' ? kZero
                                                              : text.substr(at, length);
        if (character.size() > room) {
            return;
        }
        out.append(character);
        room -= character.size();
        at += length == 0 ? 1 : length;
    }
}

std::string ColumnText(std::string_view text) {
    std::string result;
    AppendColumnText(text, result);
    return result;
}

}  // namespace NS_LOG_FLEET
