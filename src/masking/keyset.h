// The keys whose values a message hides, prepared for searching by their last characters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// Built by the compiler and never changed: a key that does not fit is a compile error.
struct KeySet {
    static constexpr std::size_t kMaxKeys = 32;
    static constexpr std::size_t kMinSize = 4;
    static constexpr std::size_t kRows = kMinSize + 1;

    constexpr KeySet(std::initializer_list<std::string_view> texts) {
        for (const std::string_view text : texts) {
            if (text.size() < kMinSize || count == kMaxKeys) {
                throw std::length_error("a key is too short, or there are too many");
            }
            AddToRows(text);
            isLast[static_cast<unsigned char>(text.back())] = true;
            keys[count++] = text;
        }
    }

    constexpr void AddToRows(std::string_view text) {
        const auto group = static_cast<std::uint8_t>(1U << text.back() % 8);
        for (std::size_t i = 0; i < kRows; ++i) {
            for (std::size_t n = 0; n < 32; ++n) {
                const bool isAny = i >= text.size();
                const std::size_t byte =
                    isAny ? 0 : static_cast<unsigned char>(text[text.size() - 1 - i]);
                low[i][n] |= isAny || n % 16 == byte % 16 ? group : std::uint8_t{0};
                high[i][n] |= isAny || n % 16 == byte / 16 ? group : std::uint8_t{0};
            }
        }
    }

    std::string_view keys[kMaxKeys] = {};
    std::size_t count = 0;

    // Whether a key ends in this character.
    bool isLast[256] = {};

    // Row i is for the character i places in front of a key's last one, entry n of each half for
    // the bytes with n as their low (or high) four bits. Bit g of an entry: a key of group g can
    // have such a byte there. Keys with the same last character are of one group.
    std::uint8_t low[kRows][32] = {};
    std::uint8_t high[kRows][32] = {};
};

// Whether a key stands right in front of text[end]. Unrolled, so that the keys are constants.
template <const KeySet& set>
bool AnyKeyEndsAt(const char* text, std::size_t end) {
#pragma GCC unroll 32
    for (std::size_t i = 0; i < set.count; ++i) {
        const std::string_view key = set.keys[i];
        if (key.size() <= end &&
            std::memcmp(text + end - key.size(), key.data(), key.size()) == 0) {
            return true;
        }
    }
    return false;
}

}  // namespace NS_LOG_SERVICE1
