// Masking with AVX2, 32 bytes at a time.
#include "logger/asnmaskingpaths.h"
#include "logger/asnmaskingrules.h"

#if defined(__x86_64__)

#include <immintrin.h>

// The library runs on processors without AVX2 too, so only these functions are compiled for it.
#define QV_AVX2 __attribute__((target("avx2")))
#define QV_AVX2_INLINE QV_AVX2 __attribute__((always_inline)) inline

namespace NS_LOG_SERVICE1 {

namespace {

constexpr std::size_t kVector = sizeof(__m256i);

QV_AVX2_INLINE __m256i Load(const void* bytes) {
    return _mm256_loadu_si256(static_cast<const __m256i_u*>(bytes));
}

QV_AVX2_INLINE void Store(void* bytes, __m256i block) {
    _mm256_storeu_si256(static_cast<__m256i_u*>(bytes), block);
}

QV_AVX2_INLINE __m256i LoadTable(const MaskingKeys::HalfTable& table) {
    const void* const bytes = table.data();
    return _mm256_broadcastsi128_si256(_mm_loadu_si128(static_cast<const __m128i_u*>(bytes)));
}

QV_AVX2_INLINE bool IsZero(__m256i block) {
    return _mm256_testz_si256(block, block) != 0;
}

QV_AVX2_INLINE std::uint32_t PlacesOf(char character, __m256i block) {
    return static_cast<std::uint32_t>(
        _mm256_movemask_epi8(_mm256_cmpeq_epi8(block, _mm256_set1_epi8(character))));
}

// `block` moved up by `count` bytes, with the end of `previous` moved in.
template <int count>
QV_AVX2_INLINE __m256i MoveUp(__m256i block, __m256i previous) {
    return _mm256_alignr_epi8(block, _mm256_permute2x128_si256(previous, block, 0x21), 16 - count);
}

// Stores `block` with asterisks in these places. Without any it is left alone: loads that overlap
// with a recent store have to wait for it.
QV_AVX2_INLINE void StoreMasked(void* bytes, __m256i block, std::uint32_t places) {
    if (places == 0) {
        return;
    }
    const __m256i byteOfPlace = _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 2,
                                                 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3);
    const __m256i bitOfPlace = _mm256_set1_epi64x(static_cast<long long>(0x8040201008040201U));
    const __m256i spread =
        _mm256_shuffle_epi8(_mm256_set1_epi32(static_cast<int>(places)), byteOfPlace);
    const __m256i isMasked = _mm256_cmpeq_epi8(_mm256_and_si256(spread, bitOfPlace), bitOfPlace);
    Store(bytes, _mm256_blendv_epi8(block, _mm256_set1_epi8(kMaskCharacter), isMasked));
}

// The groups whose keys may have a byte of `block` at a place, by the tables of the place. The
// look-up yields nothing for bytes above 127, and no key has any.
QV_AVX2_INLINE __m256i LookUp(__m256i lowTable, __m256i highTable, __m256i block, __m256i high) {
    return _mm256_and_si256(_mm256_shuffle_epi8(lowTable, block),
                            _mm256_shuffle_epi8(highTable, high));
}

QV_AVX2_INLINE __m256i HighHalves(__m256i block) {
    return _mm256_and_si256(_mm256_srli_epi16(block, 4), _mm256_set1_epi8(15));
}

// Finds the groups whose three bytes end at each place of block after block of a text. All inlined:
// the tables stay in registers.
class ManyGroupsFilter {
  public:
    QV_AVX2_INLINE explicit ManyGroupsFilter(const MaskingKeys& keys)
        : low0_(LoadTable(keys.LowHalf(0))),
          low1_(LoadTable(keys.LowHalf(1))),
          low2_(LoadTable(keys.LowHalf(2))),
          high0_(LoadTable(keys.HighHalf(0))),
          high1_(LoadTable(keys.HighHalf(1))),
          high2_(LoadTable(keys.HighHalf(2))),
          previous1_(_mm256_setzero_si256()),
          previous2_(_mm256_setzero_si256()) {
        static_assert(MaskingKeys::kGroupSuffix == 3);
    }

    // The groups for each place of `block`, which follows `previous`.
    QV_AVX2_INLINE __m256i GroupsEndingIn(__m256i block, __m256i) {
        const __m256i high = HighHalves(block);
        const __m256i groups0 = LookUp(low0_, high0_, block, high);
        const __m256i groups1 = LookUp(low1_, high1_, block, high);
        const __m256i groups2 = LookUp(low2_, high2_, block, high);
        const __m256i groups = _mm256_and_si256(
            groups0,
            _mm256_and_si256(MoveUp<1>(groups1, previous1_), MoveUp<2>(groups2, previous2_)));
        previous1_ = groups1;
        previous2_ = groups2;
        return groups;
    }

  private:
    __m256i low0_, low1_, low2_;
    __m256i high0_, high1_, high2_;
    __m256i previous1_, previous2_;
};

// The same for keys that form a single group, where comparing with its bytes is enough.
class OneGroupFilter {
  public:
    QV_AVX2_INLINE explicit OneGroupFilter(const MaskingKeys& keys) {
        const std::string_view key = keys.GetGroup(0).keys[0];
        last0_ = _mm256_set1_epi8(key[key.size() - 1]);
        last1_ = _mm256_set1_epi8(key[key.size() - 2]);
        last2_ = _mm256_set1_epi8(key[key.size() - 3]);
    }

    QV_AVX2_INLINE __m256i GroupsEndingIn(__m256i block, __m256i previous) {
        const __m256i is0 = _mm256_cmpeq_epi8(block, last0_);
        const __m256i is1 = _mm256_cmpeq_epi8(MoveUp<1>(block, previous), last1_);
        const __m256i is2 = _mm256_cmpeq_epi8(MoveUp<2>(block, previous), last2_);
        return _mm256_and_si256(_mm256_and_si256(is0, _mm256_set1_epi8(1)),
                                _mm256_and_si256(is1, is2));
    }

  private:
    __m256i last0_, last1_, last2_;
};

// The keys of a group that have these bytes as their word.
QV_AVX2_INLINE unsigned KeysWith(const MaskingKeys::Words& words, const char* bytes) {
    static_assert(sizeof words.values == sizeof(__m256i));
    long long word = 0;
    std::memcpy(&word, bytes, sizeof word);
    const __m256i isEqual =
        _mm256_cmpeq_epi64(_mm256_and_si256(_mm256_set1_epi64x(word), Load(words.masks.data())),
                           Load(words.values.data()));
    return static_cast<unsigned>(_mm256_movemask_pd(_mm256_castsi256_pd(isEqual)));
}

// Whether a key of one of `groups` ends right before text[end].
QV_AVX2_INLINE bool AnyEndsAt(const MaskingKeys& keys, unsigned groups, const char* text,
                              std::size_t end) {
    constexpr std::size_t kWord = MaskingKeys::kWord;
    if (end < 2 * kWord) {
        return keys.AnyEndsAt(groups, text, end);
    }
    for (; groups != 0; groups &= groups - 1) {
        const auto index = static_cast<std::size_t>(__builtin_ctz(groups));
        const MaskingKeys::Group& group = keys.GetGroup(index);
        unsigned found = KeysWith(group.tails, text + (end - kWord));
        if (found != 0) {
            found &= KeysWith(group.heads, text + (end - 2 * kWord));
        }
        if ((found & group.wholeInWords) != 0) {
            return true;
        }
        for (; found != 0; found &= found - 1) {
            const auto slot = static_cast<std::size_t>(__builtin_ctz(found));
            if (MaskingKeys::IsWhole(group.keys[slot], text, end)) {
                return true;
            }
        }
    }
    return false;
}

// The groups out of `groups` whose fourth last byte is in its place too, for each place of `bytes`.
QV_AVX2_INLINE __m256i CheckFourthLast(const MaskingKeys& keys, __m256i groups, __m256i bytes,
                                       __m256i previous) {
    static_assert(MaskingKeys::kSuffix == MaskingKeys::kGroupSuffix + 1);
    const __m256i fourthLast = MoveUp<3>(bytes, previous);
    return _mm256_and_si256(groups, LookUp(LoadTable(keys.LowHalf(3)), LoadTable(keys.HighHalf(3)),
                                           fourthLast, HighHalves(fourthLast)));
}

QV_AVX2_INLINE MaskingPlaces Join(std::uint32_t first, std::uint32_t second) {
    return first | (MaskingPlaces{second} << kVector);
}

// The places of the block at text[at] where keys end, out of those with groups. A key that begins
// in front of the block is compared with what masking has left of it there. Where that is not what
// stood there, a value has begun before the key's end; keys that end within a value do not matter,
// and none reaches from a value to behind its end.
QV_AVX2_INLINE MaskingPlaces FindKeyEnds(const MaskingKeys& keys, const char* text, std::size_t at,
                                         __m256i firstGroups, __m256i secondGroups) {
    unsigned char groupsAt[kMaskingBlock];
    Store(groupsAt, firstGroups);
    Store(groupsAt + kVector, secondGroups);
    MaskingPlaces places = ~Join(PlacesOf('\0', firstGroups), PlacesOf('\0', secondGroups));
    MaskingPlaces ends = 0;
    for (; places != 0; places &= places - 1) {
        const auto place = static_cast<std::size_t>(__builtin_ctzll(places));
        const bool isEnd = AnyEndsAt(keys, groupsAt[place], text, at + place + 1);
        ends |= MaskingPlaces{isEnd} << place;
    }
    return ends;
}

// Masks block after block of a text.
template <class Filter, class Rule>
class BlockMasker {
  public:
    QV_AVX2_INLINE BlockMasker(const MaskingKeys& keys, char* text)
        : keys_(keys), text_(text), filter_(keys), rule_(text), previous_(_mm256_setzero_si256()) {
        static_assert(kMaskingBlock == 2 * kVector);
    }

    // Masks the block at text[at]; `bytes` is that place or a copy of it.
    QV_AVX2_INLINE void MaskBlock(std::size_t at, char* bytes) {
        const __m256i first = Load(bytes);
        const __m256i second = Load(bytes + kVector);
        const __m256i firstGroups = filter_.GroupsEndingIn(first, previous_);
        const __m256i secondGroups = filter_.GroupsEndingIn(second, first);
        MaskingPlaces keyEnds = 0;
        if (!IsZero(_mm256_or_si256(firstGroups, secondGroups))) {
            keyEnds =
                FindKeyEnds(keys_, text_, at, CheckFourthLast(keys_, firstGroups, first, previous_),
                            CheckFourthLast(keys_, secondGroups, second, first));
        }
        if (keyEnds != 0 || !rule_.Idle()) {
            const MaskingPlaces delimiters =
                Join(PlacesOf(Rule::kDelimiter, first), PlacesOf(Rule::kDelimiter, second));
            const MaskingPlaces masked = rule_.MaskedPlaces(at, keyEnds, delimiters);
            StoreMasked(bytes, first, static_cast<std::uint32_t>(masked));
            StoreMasked(bytes + kVector, second, static_cast<std::uint32_t>(masked >> kVector));
        }
        previous_ = second;
    }

  private:
    const MaskingKeys& keys_;
    const char* text_;
    Filter filter_;
    Rule rule_;
    __m256i previous_;
};

template <class Filter, class Rule>
QV_AVX2 void MaskBlocks(const MaskingKeys& keys, char* text, std::size_t length) {
    BlockMasker<Filter, Rule> masker(keys, text);
    std::size_t at = 0;
    for (; length - at >= kMaskingBlock; at += kMaskingBlock) {
        masker.MaskBlock(at, text + at);
    }
    if (at < length) {
        char rest[kMaskingBlock] = {};
        std::memcpy(rest, text + at, length - at);
        masker.MaskBlock(at, rest);
        std::memcpy(text + at, rest, length - at);
    }
}

template <class Rule>
void MaskByRule(const MaskingKeys& keys, char* text, std::size_t length) {
    if (keys.GroupCount() == 1) {
        MaskBlocks<OneGroupFilter, Rule>(keys, text, length);
    } else {
        MaskBlocks<ManyGroupsFilter, Rule>(keys, text, length);
    }
}

}  // namespace

const MaskingOperations kAvx2Masking = {MaskByRule<RestOfLineRule>, MaskByRule<QuotedRule>,
                                        MaskByRule<TaggedRule>};

bool IsAvx2Available() noexcept {
    return __builtin_cpu_supports("avx2") != 0;
}

}  // namespace NS_LOG_SERVICE1

#else

namespace NS_LOG_SERVICE1 {

const MaskingOperations kAvx2Masking = {nullptr, nullptr, nullptr};  // never asked for

bool IsAvx2Available() noexcept {
    return false;
}

}  // namespace NS_LOG_SERVICE1

#endif
