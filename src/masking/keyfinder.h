// Finds the keys of a message in its text, one after the other.
#pragma once

#include <algorithm>
#include <string_view>

#include "masking/keyset.h"

namespace NS_LOG_SERVICE1 {

// Bit i stands for the place behind i bytes of the block.
using BlockPlaces = std::uint64_t;
constexpr std::size_t kBlock = 64;
constexpr std::size_t kBlockReach = kBlock + KeySet::kSuffix - 1;  // what is read for a block

// Looks block by block, from text[at] on, for places where the suffix of a key can begin. Moves
// `at` to the first block that has any, and returns them. Without any it moves `at` to where fewer
// than kBlockReach bytes are left, and returns 0. It may name places in vain, but misses none.
//
// Thread safety: a filter touches nothing but its arguments.
using KeyFilter = BlockPlaces(const KeySet& keys, const char* text, std::size_t length,
                              std::size_t& at);

KeyFilter PlainKeyFilter;  // names every place; for processors without AVX2
KeyFilter* FastestKeyFilter() noexcept;

// Thread safety: an object searches one text, on one thread.
class KeyFinder {
  public:
    static constexpr std::size_t kNone = std::string_view::npos;

    KeyFinder(KeyFilter* filter, const KeySet& keys, const char* text, std::size_t length)
        : filter_(filter), keys_(keys), text_(text), length_(length) {}

    // Finds other keys in the same text, from its beginning.
    KeyFinder For(const KeySet& keys) const { return KeyFinder(filter_, keys, text_, length_); }

    // Of the keys that stand in text[from, length), the end of the one that ends first, or kNone.
    // REQUIRES: `from` never goes back, and only what stands in front of it has changed.
    std::size_t FindEnd(std::size_t from) noexcept {
        if (from > block_) {
            places_ &= from - block_ < kBlock ? ~BlockPlaces{0} << (from - block_) : 0;
        }
        do {
            for (; places_ != 0; places_ &= places_ - 1) {
                const auto place = static_cast<std::size_t>(__builtin_ctzll(places_));
                const std::size_t end = block_ + place + KeySet::kSuffix;
                if (keys_.AnyEndsAt(text_, from, end)) {
                    return end;
                }
            }
        } while (GoToNextBlock(from));
        return kNone;
    }

  private:
    // Skips what stands in front of `from`. False at the end of the text.
    bool GoToNextBlock(std::size_t from) noexcept {
        block_ = std::max(next_, from);
        places_ = filter_(keys_, text_, length_, block_);
        next_ = block_ + kBlock;
        if (places_ == 0 && block_ + KeySet::kSuffix <= length_) {
            const std::size_t size = length_ - block_;
            char rest[kBlockReach] = {};
            std::memcpy(rest, text_ + block_, size);
            std::size_t inRest = 0;
            places_ = filter_(keys_, rest, sizeof rest, inRest);
            places_ &= (BlockPlaces{1} << (size - KeySet::kSuffix + 1)) - 1;
            next_ = length_;
        }
        return places_ != 0;
    }

    KeyFilter* filter_;
    const KeySet& keys_;
    const char* text_;
    std::size_t length_;
    std::size_t block_ = 0;   // where the present block begins
    BlockPlaces places_ = 0;  // of the block, those that have not been looked at
    std::size_t next_ = 0;    // where the next block begins
};

}  // namespace NS_LOG_SERVICE1
