// In which block of a text can a key end? The one question that vector code answers.
#include "masking/keyfinder.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace NS_LOG_SERVICE1 {

BlockPlaces PlainKeyFilter(const KeySet&, const char*, std::size_t length, std::size_t& at) {
    return at + kBlockReach <= length ? ~BlockPlaces{0} : 0;
}

#if defined(__x86_64__)

// The library runs on processors without AVX2 too, so only these functions are compiled for it.
#define QV_AVX2 __attribute__((target("avx2")))
#define QV_AVX2_INLINE QV_AVX2 __attribute__((always_inline)) inline

namespace {

QV_AVX2_INLINE __m256i LoadTable(const void* table) {
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i_u*>(table)));
}

// For each of 32 bytes, the groups of keys that can have it as character i of their suffix. A
// look-up yields nothing for bytes above 127, and no key has any.
QV_AVX2_INLINE __m256i GroupsOf(const KeySet& keys, std::size_t i, const char* bytes) {
    const __m256i vector = _mm256_loadu_si256(reinterpret_cast<const __m256i_u*>(bytes));
    const __m256i high = _mm256_srli_epi16(vector, 4) & _mm256_set1_epi8(15);
    return _mm256_shuffle_epi8(LoadTable(keys.LowNibbles()[i].data()), vector) &
           _mm256_shuffle_epi8(LoadTable(keys.HighNibbles()[i].data()), high);
}

// The groups whose last three characters stand behind each of 32 places.
QV_AVX2_INLINE __m256i GroupsBehind(const KeySet& keys, const char* bytes) {
    return GroupsOf(keys, 1, bytes + 1) & GroupsOf(keys, 2, bytes + 2) &
           GroupsOf(keys, 3, bytes + 3);
}

QV_AVX2_INLINE BlockPlaces PlacesOf(__m256i groups) {
    const __m256i isNone = _mm256_cmpeq_epi8(groups, _mm256_setzero_si256());
    return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(isNone));
}

// Looks at the first character of the suffixes only where the other three fit.
QV_AVX2 BlockPlaces Avx2KeyFilter(const KeySet& keys, const char* text, std::size_t length,
                                  std::size_t& at) {
    constexpr std::size_t kVector = sizeof(__m256i);
    BlockPlaces places = 0;
    std::size_t block = at;
    for (; block + kBlockReach <= length; block += kBlock) {
        const char* const bytes = text + block;
        const __m256i first = GroupsBehind(keys, bytes);
        const __m256i second = GroupsBehind(keys, bytes + kVector);
        if (_mm256_testz_si256(first | second, first | second) == 0) {
            places = PlacesOf(first & GroupsOf(keys, 0, bytes)) |
                     PlacesOf(second & GroupsOf(keys, 0, bytes + kVector)) << kVector;
            if (places != 0) {
                break;
            }
        }
    }
    at = block;
    return places;
}

}  // namespace

#endif

KeyFilter* FastestKeyFilter() noexcept {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0) {
        return Avx2KeyFilter;
    }
#endif
    return PlainKeyFilter;
}

}  // namespace NS_LOG_SERVICE1
