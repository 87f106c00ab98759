// The closer look at a place where a key may end.
#include "logger/asnmaskingkeys.h"

#include <cstring>

namespace NS_LOG_SERVICE1 {

bool MaskingKeys::AnyEndsAt(unsigned groups, const char* text, std::size_t end) const noexcept {
    // Near the beginning of the text there are no two words; the bytes that are missing stay zero,
    // which no key contains.
    char bytes[2 * kWord] = {};
    const std::size_t room = end < sizeof bytes ? end : sizeof bytes;
    std::memcpy(bytes + (sizeof bytes - room), text + (end - room), room);
    std::uint64_t words[2];
    std::memcpy(words, bytes, sizeof words);
    for (; groups != 0; groups &= groups - 1) {
        const Group& group = groups_[static_cast<std::size_t>(__builtin_ctz(groups))];
        for (std::size_t i = 0; i < group.count; ++i) {
            if ((words[1] & group.tails.masks[i]) == group.tails.values[i] &&
                (words[0] & group.heads.masks[i]) == group.heads.values[i] &&
                IsWhole(group.keys[i], text, end)) {
                return true;
            }
        }
    }
    return false;
}

bool MaskingKeys::IsWhole(std::string_view key, const char* text, std::size_t end) noexcept {
    return key.size() <= 2 * kWord ||
           (key.size() <= end &&
            std::memcmp(text + (end - key.size()), key.data(), key.size() - 2 * kWord) == 0);
}

}  // namespace NS_LOG_SERVICE1
