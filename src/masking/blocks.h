// The blocks of a text, each 64 bytes: where keys end in them, and masking.
#pragma once

#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "masking/keyset.h"

namespace NS_LOG_SERVICE1 {

// A set of places in a block. The block's first byte is the lowest bit.
using Places = std::uint64_t;
constexpr std::size_t kBlock = 64;

// What the rules do with the block at text[begin], on every processor.
template <const KeySet& set>
struct PlainBlocks {
    // The places right behind a key. REQUIRES: begin >= set.minSize.
    Places KeyEnds(std::size_t begin) const {
        return PlacesWhere([&](std::size_t i) {
            return set.isLast[static_cast<unsigned char>(text[begin + i - 1])] &&
                   AnyKeyEndsAt<set>(text, begin + i);
        });
    }

    Places PlacesOf(char character, std::size_t begin) const {
        return PlacesWhere([&](std::size_t i) { return text[begin + i] == character; });
    }

    void Mask(std::size_t begin, Places places) const {
        for (; places != 0; places &= places - 1) {
            text[begin + static_cast<std::size_t>(__builtin_ctzll(places))] = '*';
        }
    }

    template <class Fits>
    static Places PlacesWhere(Fits fits) {
        Places places = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            places |= Places{fits(i)} << i;
        }
        return places;
    }

    char* text;
};

#if defined(__x86_64__)

// The library runs on processors without AVX2 too, so only these functions are compiled for it.
#define QV_AVX2 __attribute__((target("avx2")))

// The same with AVX2, in two vectors.
//
// A character of a key is looked up by its two halves of four bits, for all groups at once.
template <const KeySet& set>
struct Avx2Blocks {
    QV_AVX2 Places KeyEnds(std::size_t begin) const {
        __m256i first = Candidates(text + begin);
        __m256i second = Candidates(text + begin + kVector);
        if (_mm256_testz_si256(first | second, first | second) != 0) {
            return 0;
        }
        for (std::size_t i = 3; set.count > 1 && i < KeySet::kRows && i < begin; ++i) {
            first &= Groups(i, text + begin);
            second &= Groups(i, text + begin + kVector);
        }
        Places ends = 0;
        for (Places left = ~PlacesOf('\0', first, second); left != 0; left &= left - 1) {
            const std::size_t end = begin + static_cast<std::size_t>(__builtin_ctzll(left));
            ends |= AnyKeyEndsAt<set>(text, end) ? left & (~left + 1) : 0;
        }
        return ends;
    }

    QV_AVX2 Places PlacesOf(char character, std::size_t begin) const {
        return PlacesOf(character, Load(text + begin), Load(text + begin + kVector));
    }

    QV_AVX2 void Mask(std::size_t begin, Places places) const {
        MaskVector(text + begin, static_cast<int>(places));
        MaskVector(text + begin + kVector, static_cast<int>(places >> kVector));
    }

    static constexpr std::size_t kVector = sizeof(__m256i);

    QV_AVX2 static __m256i Load(const void* bytes) {
        return _mm256_loadu_si256(static_cast<const __m256i_u*>(bytes));
    }

    QV_AVX2 static Places PlacesOf(char character, __m256i first, __m256i second) {
        const __m256i wanted = _mm256_set1_epi8(character);
        first = _mm256_cmpeq_epi8(first, wanted);
        second = _mm256_cmpeq_epi8(second, wanted);
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(first)) |
               Places{static_cast<std::uint32_t>(_mm256_movemask_epi8(second))} << kVector;
    }

    // Not zero where a key may end: the first and the last character of the only key fit, or the
    // last three characters fit keys of one group.
    QV_AVX2 static __m256i Candidates(const char* end) {
        if constexpr (set.count == 1) {
            constexpr std::string_view kKey = set.keys[0];
            return _mm256_cmpeq_epi8(Load(end - 1), _mm256_set1_epi8(kKey.back())) &
                   _mm256_cmpeq_epi8(Load(end - kKey.size()), _mm256_set1_epi8(kKey.front()));
        }
        return Groups(0, end) & Groups(1, end) & Groups(2, end);
    }

    // The groups that fit the characters of row i. A look-up yields nothing for bytes above 127. No
    // key has any, but they may stand in front of a short key.
    QV_AVX2 static __m256i Groups(std::size_t i, const char* end) {
        const __m256i kept = _mm256_set1_epi8(i < KeySet::kMinSize ? -1 : 127);
        const __m256i bytes = Load(end - 1 - i) & kept;
        const __m256i high = _mm256_srli_epi16(bytes, 4) & _mm256_set1_epi8(15);
        return _mm256_shuffle_epi8(Load(set.low[i]), bytes) &
               _mm256_shuffle_epi8(Load(set.high[i]), high);
    }

    QV_AVX2 static void MaskVector(char* bytes, int places) {
        const __m256i byteOfPlace =
            _mm256_set_epi64x(0x0303030303030303, 0x0202020202020202, 0x0101010101010101, 0);
        const __m256i bitOfPlace = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201U));
        const __m256i spread = _mm256_shuffle_epi8(_mm256_set1_epi32(places), byteOfPlace);
        const __m256i isMasked = _mm256_cmpeq_epi8(spread & bitOfPlace, bitOfPlace);
        _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(bytes),
                            _mm256_blendv_epi8(Load(bytes), _mm256_set1_epi8('*'), isMasked));
    }

    char* text;
};

#endif

}  // namespace NS_LOG_SERVICE1
