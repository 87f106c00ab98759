// The keys behind which masked values stand, prepared at compile time for being searched together.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// A search for many keys looks at the last bytes of all of them at once: names in a dump differ in
// their ends more than in their beginnings, so few places need a closer look.
//
// Keys with the same last three bytes form a group; a set of groups is a byte with one bit for
// each. One group has one value for each of the three bytes, so whether a byte is that value can
// be asked of its lower and its upper half separately, without false matches. That is what lets a
// vector instruction look up 32 bytes in tables of 16 entries.
//
// Keys contain neither asterisks nor control characters.
//
// Thread safety: constant once constructed.
class MaskingKeys {
  public:
    static constexpr std::size_t kGroupSuffix = 3;  // the bytes that make the group
    static constexpr std::size_t kSuffix = 4;       // the bytes that are looked at at once
    static constexpr std::size_t kGroups = 8;
    static constexpr std::size_t kKeysInGroup = 4;
    static constexpr std::size_t kWord = sizeof(std::uint64_t);

    // Groups that allow a byte with a certain lower or upper half at a certain place.
    using HalfTable = std::array<std::uint8_t, 16>;

    // One word of each key of a group, side by side for being compared at once. A key that has only
    // some of the word's bytes, or none, clears the others.
    struct Words {
        std::array<std::uint64_t, kKeysInGroup> values{};
        std::array<std::uint64_t, kKeysInGroup> masks{};
    };

    // Key i ends at a place when, of the two words in front of the place, the nearer one, cut by
    // tails.masks[i], is tails.values[i], the farther one accordingly heads.values[i], and what a
    // key longer than two words has in front of them stands there too. What holds no key never
    // matches.
    struct alignas(256) Group {
        Words tails{{1, 1, 1, 1}, {}};
        Words heads{};
        std::array<std::string_view, kKeysInGroup> keys{};
        std::size_t count = 0;
        unsigned wholeInWords = 0;  // bit i: key i is not longer than the two words
    };

    // Each key has at least kSuffix characters. Evaluated at compile time only, where the
    // exceptions are compile errors.
    constexpr MaskingKeys(std::initializer_list<std::string_view> keys);

    const Group& GetGroup(std::size_t index) const noexcept { return groups_[index]; }
    constexpr std::size_t GroupCount() const noexcept { return groupCount_; }

    // For the place `back` bytes before the last byte of the keys.
    const HalfTable& LowHalf(std::size_t back) const noexcept { return lowHalf_[back]; }
    const HalfTable& HighHalf(std::size_t back) const noexcept { return highHalf_[back]; }

    // Byte i of the result: the groups that do not have `byte` as character i of their suffix.
    std::uint32_t Mismatches(char byte) const noexcept {
        return mismatches_[static_cast<unsigned char>(byte)];
    }

    // Whether a key of one of `groups` ends right before text[end].
    bool AnyEndsAt(unsigned groups, const char* text, std::size_t end) const noexcept;

    // Whether all of `key` stands right before text[end], where its last two words do.
    static bool IsWhole(std::string_view key, const char* text, std::size_t end) noexcept;

  private:
    constexpr std::size_t FindGroup(std::string_view key) const;
    constexpr void AddToGroup(std::size_t index, std::string_view key);
    // Where a loaded word has the byte that is `back` bytes before its last one in memory.
    static constexpr std::size_t ShiftInWord(std::size_t back);
    constexpr void FillMismatches();

    std::array<Group, kGroups> groups_{};
    std::size_t groupCount_ = 0;
    std::array<HalfTable, kSuffix> lowHalf_{};
    std::array<HalfTable, kSuffix> highHalf_{};
    std::array<std::uint32_t, 256> mismatches_{};
};

constexpr MaskingKeys::MaskingKeys(std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        if (key.size() < kSuffix) {
            throw std::length_error("a key is too short");
        }
        AddToGroup(FindGroup(key), key);
    }
    FillMismatches();
}

constexpr std::size_t MaskingKeys::FindGroup(std::string_view key) const {
    std::size_t index = 0;
    for (; index < groupCount_; ++index) {
        const std::string_view member = groups_[index].keys[0];
        if (member.substr(member.size() - kGroupSuffix) == key.substr(key.size() - kGroupSuffix)) {
            break;
        }
    }
    return index;
}

constexpr void MaskingKeys::AddToGroup(std::size_t index, std::string_view key) {
    if (index == kGroups || groups_[index].count == kKeysInGroup) {
        throw std::length_error("too many keys");
    }
    groupCount_ = index == groupCount_ ? groupCount_ + 1 : groupCount_;
    Group& group = groups_[index];
    const std::size_t slot = group.count++;
    group.keys[slot] = key;
    group.wholeInWords |= (key.size() <= 2 * kWord ? 1U : 0U) << slot;
    group.tails.values[slot] = 0;
    for (std::size_t back = 0; back < key.size(); ++back) {
        const unsigned byte = static_cast<unsigned char>(key[key.size() - 1 - back]);
        if (back < 2 * kWord) {
            Words& words = back < kWord ? group.tails : group.heads;
            words.values[slot] |= std::uint64_t{byte} << ShiftInWord(back % kWord);
            words.masks[slot] |= std::uint64_t{0xFF} << ShiftInWord(back % kWord);
        }
        if (back < kSuffix) {
            std::uint8_t& low = lowHalf_[back][byte & 15U];
            std::uint8_t& high = highHalf_[back][byte >> 4U];
            low = static_cast<std::uint8_t>(low | (1U << index));
            high = static_cast<std::uint8_t>(high | (1U << index));
        }
    }
}

constexpr std::size_t MaskingKeys::ShiftInWord(std::size_t back) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return 8 * (kWord - 1 - back);
#else
    return 8 * back;
#endif
}

constexpr void MaskingKeys::FillMismatches() {
    for (std::size_t byte = 0; byte < mismatches_.size(); ++byte) {
        for (std::size_t i = 0; i < kSuffix; ++i) {
            const std::size_t back = kSuffix - 1 - i;
            const unsigned groups = lowHalf_[back][byte & 15U] & highHalf_[back][byte >> 4U];
            mismatches_[byte] |= std::uint32_t{0xFFU & ~groups} << (8 * i);
        }
    }
}

}  // namespace NS_LOG_SERVICE1
