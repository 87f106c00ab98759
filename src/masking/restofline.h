// Masks the rest of each line after a key, plainly and with vectors of 32 bytes.
//
// The value is everything from the key up to the line's end, separators included. A key counts
// inside a longer word too.
//
// One pass gives the same text as masking key after key. Each key leaves the line's beginning up to
// the key's end, and asterisks after it. No key has an asterisk or a newline, so a further key is
// found within that beginning or not at all. The key that ends first is never touched. So in the
// end, whatever the order of the keys, everything after the first end of any key is masked.
#pragma once

#include <algorithm>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "masking/keyset.h"

namespace NS_LOG_SERVICE1 {

template <const KeySet& set>
void MaskRestOfLines(char* text, std::size_t length) {
    for (std::size_t end = 1; end < length; ++end) {
        if (set.isLast[static_cast<unsigned char>(text[end - 1])] && AnyKeyEndsAt<set>(text, end)) {
            char* const lineEnd = std::find(text + end, text + length, '\n');
            std::fill(text + end, lineEnd, '*');
            end = static_cast<std::size_t>(lineEnd - text);
        }
    }
}

#if defined(__x86_64__)

// The library runs on processors without AVX2 too, so only these functions are compiled for it.
#define QV_AVX2 __attribute__((target("avx2")))

// A set of places in a block of the text. The block's first byte is the lowest bit.
using Places = std::uint64_t;
constexpr std::size_t kBlock = 64;
constexpr std::size_t kVector = sizeof(__m256i);

QV_AVX2 inline __m256i Load(const void* bytes) {
    return _mm256_loadu_si256(static_cast<const __m256i_u*>(bytes));
}

QV_AVX2 inline Places PlacesOf(char character, __m256i first, __m256i second) {
    const __m256i wanted = _mm256_set1_epi8(character);
    first = _mm256_cmpeq_epi8(first, wanted);
    second = _mm256_cmpeq_epi8(second, wanted);
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(first)) |
           Places{static_cast<std::uint32_t>(_mm256_movemask_epi8(second))} << kVector;
}

// The groups of keys that fit the characters i places in front of a key's last one, where a key
// ends right in front of each of the 32 bytes at `end`. A look-up yields nothing for bytes above
// 127. No key has any, but they may stand in front of a short key.
template <const KeySet& set>
QV_AVX2 __m256i Groups(std::size_t i, const char* end) {
    const __m256i kept = _mm256_set1_epi8(i < KeySet::kMinSize ? -1 : 127);
    const __m256i bytes = Load(end - 1 - i) & kept;
    const __m256i high = _mm256_srli_epi16(bytes, 4) & _mm256_set1_epi8(15);
    return _mm256_shuffle_epi8(Load(set.low[i]), bytes) &
           _mm256_shuffle_epi8(Load(set.high[i]), high);
}

// The places in the block at text[begin] right after a key. Three characters tell for most blocks
// that there is none. REQUIRES: begin >= KeySet::kMinSize.
template <const KeySet& set>
QV_AVX2 Places KeyEnds(const char* text, std::size_t begin) {
    const char* const block = text + begin;
    __m256i first = Groups<set>(0, block) & Groups<set>(1, block) & Groups<set>(2, block);
    const char* const half = block + kVector;
    __m256i second = Groups<set>(0, half) & Groups<set>(1, half) & Groups<set>(2, half);
    if (_mm256_testz_si256(first | second, first | second) != 0) {
        return 0;
    }
    for (std::size_t i = 3; i < KeySet::kRows && i < begin; ++i) {
        first &= Groups<set>(i, block);
        second &= Groups<set>(i, half);
    }
    Places ends = 0;
    for (Places left = ~PlacesOf('\0', first, second); left != 0; left &= left - 1) {
        const std::size_t end = begin + static_cast<std::size_t>(__builtin_ctzll(left));
        ends |= AnyKeyEndsAt<set>(text, end) ? left & (~left + 1) : 0;
    }
    return ends;
}

QV_AVX2 inline void MaskVector(char* bytes, int places) {
    const __m256i byteOfPlace =
        _mm256_set_epi64x(0x0303030303030303, 0x0202020202020202, 0x0101010101010101, 0);
    const __m256i bitOfPlace = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201U));
    const __m256i spread = _mm256_shuffle_epi8(_mm256_set1_epi32(places), byteOfPlace);
    const __m256i isMasked = _mm256_cmpeq_epi8(spread & bitOfPlace, bitOfPlace);
    _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(bytes),
                        _mm256_blendv_epi8(Load(bytes), _mm256_set1_epi8('*'), isMasked));
}

QV_AVX2 inline void MaskBlock(char* block, Places places) {
    MaskVector(block, static_cast<int>(places));
    MaskVector(block + kVector, static_cast<int>(places >> kVector));
}

// Does the same as MaskRestOfLines. The rest of a line is a run of ones in `inLine`. Adding a start
// to it carries up to the newline and clears what it passes; further starts in the same run stay as
// they are. REQUIRES: length >= kBlock + KeySet::kMinSize.
template <const KeySet& set>
QV_AVX2 __attribute__((flatten)) void MaskRestOfLinesAvx2(char* text, std::size_t length) {
    bool isMasking = false;  // the block before ended within a masked rest of a line
    char* previous = text;
    Places masked = 0;
    std::size_t begin = 0;
    for (std::size_t at = KeySet::kMinSize; at < length; at = begin + kBlock) {
        begin = std::min(at, length - kBlock);  // the last two blocks overlap
        const std::size_t own = at - begin;     // the places in front belong to the block before
        const Places keyEnds = KeyEnds<set>(text, begin) >> own << own;
        if (keyEnds == 0 && !isMasking) {
            continue;
        }
        char* const block = text + begin;
        const Places inLine = ~PlacesOf('\n', Load(block), Load(block + kVector));
        const Places starts = (keyEnds | Places{isMasking} << own) & inLine;
        MaskBlock(previous,
                  masked);  // not before: a load waits for a recent store that it overlaps
        previous = block;
        masked = (((starts + inLine) ^ inLine) | starts) & inLine;
        isMasking = masked >> (kBlock - 1) != 0;
    }
    MaskBlock(previous, masked);
}

#endif

}  // namespace NS_LOG_SERVICE1
