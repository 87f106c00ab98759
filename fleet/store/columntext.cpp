#include "store/columntext.h"

#include <algorithm>

#include "format/utf8.h"

namespace NS_LOG_FLEET {
namespace {

constexpr std::string_view kZero = "\xE2\x90\x80";

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
        const size_t length = NS_LOG_READER::CharacterLength(text.substr(at));
        const std::string_view character = length == 0        ? NS_LOG_READER::kReplacementCharacter
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
