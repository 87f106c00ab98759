// The keys whose values a message hides, prepared for searching by their last bytes.
#pragma once

#include <endian.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// Built by the compiler and never changed: a key that does not fit is a compile error.
class KeySet {
  public:
    static constexpr std::size_t kMaxKeys = 32;
    static constexpr std::size_t kSuffix = 4;  // no key is shorter

    // Row i is for character i of the suffixes, entry n for the bytes with n as their low (or
    // high) four bits. Bit g of an entry: a key of group g can have such a byte there.
    using Nibbles = std::array<std::array<std::uint8_t, 16>, kSuffix>;

    constexpr KeySet(std::initializer_list<std::string_view> keys) {
        for (const std::string_view key : keys) {
            Add(key);
        }
    }

    const Nibbles& LowNibbles() const noexcept { return low_; }
    const Nibbles& HighNibbles() const noexcept { return high_; }

    // Whether a key that begins at text[from] or behind it ends right before text[end].
    // REQUIRES: end >= from + kSuffix.
    bool AnyEndsAt(const char* text, std::size_t from, std::size_t end) const noexcept {
        std::uint64_t tail = 0;
        const std::size_t size = end < sizeof tail ? end : sizeof tail;
        if (size == sizeof tail) {
            std::memcpy(&tail, text + end - sizeof tail, sizeof tail);
        } else {
            std::memcpy(reinterpret_cast<char*>(&tail) + sizeof tail - size, text, size);
        }
        tail = le64toh(tail);
        for (std::uint32_t rest = slots_[SlotOf(tail)]; rest != 0; rest &= rest - 1) {
            const Key& key = keys_[static_cast<std::size_t>(__builtin_ctz(rest))];
            const std::size_t begin = end - key.text.size();
            if ((tail ^ key.tail) >> key.tailShift == 0 && key.text.size() <= end - from &&
                (key.tailShift != 0 ||
                 std::memcmp(text + begin, key.text.data(), key.text.size() - size) == 0)) {
                return true;
            }
        }
        return false;
    }

  private:
    struct Key {
        std::string_view text;
        std::uint64_t tail = 0;  // the last eight bytes, the very last one highest
        unsigned tailShift = 0;  // shifts out what is not of the key
    };

    static constexpr std::size_t SlotOf(std::uint64_t tail) {
        return (static_cast<std::uint32_t>(tail >> 32U) * 0x9E3779B1U) >> 24U;
    }

    constexpr void Add(std::string_view text) {
        if (text.size() < kSuffix || count_ == kMaxKeys) {
            throw std::length_error("a key is too short, or there are too many");
        }
        Key key{text, 0, text.size() < 8 ? static_cast<unsigned>(64 - 8 * text.size()) : 0};
        for (const char character : text) {
            key.tail = key.tail >> 8U | std::uint64_t{static_cast<unsigned char>(character)} << 56U;
        }
        for (std::size_t i = 0; i < kSuffix; ++i) {
            const auto byte = static_cast<unsigned char>(text[text.size() - kSuffix + i]);
            low_[i][byte & 15U] |= static_cast<std::uint8_t>(1U << count_ % 8);
            high_[i][byte >> 4U] |= static_cast<std::uint8_t>(1U << count_ % 8);
        }
        slots_[SlotOf(key.tail)] |= std::uint32_t{1} << count_;
        keys_[count_++] = key;
    }

    std::array<Key, kMaxKeys> keys_{};
    std::size_t count_ = 0;
    std::array<std::uint32_t, 256> slots_{};  // by a hash of the suffix: bit k for keys_[k]
    Nibbles low_{};
    Nibbles high_{};
};

}  // namespace NS_LOG_SERVICE1
