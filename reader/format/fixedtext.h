// Comparing and finding texts that are known when this is compiled.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace NS_LOG_READER {

// Whatever the locale.
constexpr bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

// With a constant as the second argument these become a few comparisons of words, where the
// string's own operations call the C library: half of the time of a header's parsing.
[[gnu::always_inline]] inline bool StartsWith(std::string_view text, std::string_view beginning) {
    return text.size() >= beginning.size() &&
           std::memcmp(text.data(), beginning.data(), beginning.size()) == 0;
}

[[gnu::always_inline]] inline bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() &&
           std::memcmp(text.data() + text.size() - end.size(), end.data(), end.size()) == 0;
}

// The first place of the character from `from` on; npos: there is none.
[[gnu::always_inline]] inline size_t FindCharacter(std::string_view text, char character,
                                                   size_t from) {
    if (from >= text.size()) {
        return std::string_view::npos;
    }
    const void* const found = std::memchr(text.data() + from, character, text.size() - from);
    return found == nullptr ? std::string_view::npos
                            : static_cast<size_t>(static_cast<const char*>(found) - text.data());
}

// The texts are short and their first characters rare, so that looking for these is quicker than a
// search that prepares itself.
[[gnu::always_inline]] inline size_t FindText(std::string_view text, std::string_view wanted,
                                              size_t from = 0) {
    size_t at = FindCharacter(text, wanted[0], from);
    while (at != std::string_view::npos && !StartsWith(text.substr(at), wanted)) {
        at = FindCharacter(text, wanted[0], at + 1);
    }
    return at;
}

[[gnu::always_inline]] inline size_t FindLastText(std::string_view text, std::string_view wanted) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const void* const found = memrchr(rest.data(), wanted[0], rest.size());
        if (found == nullptr) {
            break;
        }
        const auto at = static_cast<size_t>(static_cast<const char*>(found) - text.data());
        if (StartsWith(text.substr(at), wanted)) {
            return at;
        }
        rest = text.substr(0, at);
    }
    return std::string_view::npos;
}

}  // namespace NS_LOG_READER
