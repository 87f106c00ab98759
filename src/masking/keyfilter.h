// In which block of a text can a key end? The one question that vector code answers.
#pragma once

#include <cstddef>
#include <cstdint>

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

}  // namespace NS_LOG_SERVICE1
