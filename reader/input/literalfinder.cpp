#include "input/literalfinder.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace NS_LOG_READER {
namespace {

bool IsLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

char OtherCase(char character) {
    return IsLetter(character) ? static_cast<char>(character ^ 0x20) : character;
}

// How often a byte stands in log files, roughly: those that headers consist of come first.
int Frequency(char character) {
    constexpr std::string_view often = "0123456789 -:.,/etaoinsrdlcuTDFLIUm\n\"_fpghbykwvM";
    const size_t place = often.find(character);
    return place == std::string_view::npos ? 0 : static_cast<int>(often.size() - place);
}

uint64_t Word(const char* bytes) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

// Most texts have from 8 to 16 bytes, which are two words that may overlap.
bool AreEqual(const char* a, const char* b, size_t size) {
    constexpr size_t width = sizeof(uint64_t);
    if (size < width || size > 2 * width) {
        return std::memcmp(a, b, size) == 0;
    }
    return Word(a) == Word(b) && Word(a + size - width) == Word(b + size - width);
}

}  // namespace

LiteralFinder::LiteralFinder(std::string text, bool ignoreCase, size_t telling)
    : text_(std::move(text)), otherCase_(text_), ignoreCase_(ignoreCase), usesAvx2_(HasAvx2()) {
    for (char& character : otherCase_) {
        character = ignoreCase ? OtherCase(character) : character;
    }
    const auto frequency = [this](size_t place) {
        return Frequency(text_[place]) + (ignoreCase_ ? Frequency(otherCase_[place]) : 0);
    };
    for (size_t place = 1; place < text_.size(); ++place) {
        first_ = frequency(place) < frequency(first_) ? place : first_;
    }
    second_ = first_ == 0 ? text_.size() - 1 : 0;
    for (size_t place = 0; place < text_.size(); ++place) {
        if (place != first_ && frequency(place) < frequency(second_)) {
            second_ = place;
        }
    }
    second_ = telling != std::string::npos ? telling : second_;
}

bool LiteralFinder::Matches(const char* place) const {
    if (!ignoreCase_) {
        return AreEqual(place, text_.data(), text_.size());
    }
    for (size_t i = 0; i < text_.size(); ++i) {
        if (place[i] != text_[i] && place[i] != otherCase_[i]) {
            return false;
        }
    }
    return true;
}

const char* LiteralFinder::FindSlowly(const char* begin, const char* end) const {
    for (; begin + text_.size() <= end; ++begin) {
        if (Matches(begin)) {
            return begin;
        }
    }
    return nullptr;
}

#if defined(__x86_64__)

// The reader runs on processors without AVX2 too, so only these functions are compiled for it.
#define QV_AVX2 __attribute__((target("avx2")))

namespace {

constexpr size_t kBlock = 64;

// The two bytes that are compared, with the other cases of letters.
struct TwoBytes {
    char first;
    char second;
    char otherFirst;
    char otherSecond;
};

// Compares the bytes with 64 places at once. A set of places has the first as its lowest bit.
template <bool ignoresCase>
class Sse2Pairs {
  public:
    explicit Sse2Pairs(const TwoBytes& bytes)
        : first_(_mm_set1_epi8(bytes.first)),
          second_(_mm_set1_epi8(bytes.second)),
          otherFirst_(_mm_set1_epi8(bytes.otherFirst)),
          otherSecond_(_mm_set1_epi8(bytes.otherSecond)) {}

    uint64_t Places(const char* atFirst, const char* atSecond) const {
        uint64_t places = 0;
        for (size_t part = 0; part < kBlock; part += sizeof(__m128i)) {
            const __m128i both = _mm_and_si128(Equal(atFirst + part, first_, otherFirst_),
                                               Equal(atSecond + part, second_, otherSecond_));
            places |= uint64_t{static_cast<uint32_t>(_mm_movemask_epi8(both))} << part;
        }
        return places;
    }

  private:
    static __m128i Equal(const char* bytes, __m128i wanted, __m128i other) {
        const __m128i word = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
        const __m128i equal = _mm_cmpeq_epi8(word, wanted);
        return ignoresCase ? _mm_or_si128(equal, _mm_cmpeq_epi8(word, other)) : equal;
    }

    __m128i first_;
    __m128i second_;
    __m128i otherFirst_;
    __m128i otherSecond_;
};

template <bool ignoresCase>
class Avx2Pairs {
  public:
    QV_AVX2 explicit Avx2Pairs(const TwoBytes& bytes)
        : first_(_mm256_set1_epi8(bytes.first)),
          second_(_mm256_set1_epi8(bytes.second)),
          otherFirst_(_mm256_set1_epi8(bytes.otherFirst)),
          otherSecond_(_mm256_set1_epi8(bytes.otherSecond)) {}

    QV_AVX2 uint64_t Places(const char* atFirst, const char* atSecond) const {
        constexpr size_t half = sizeof(__m256i);
        return Half(atFirst, atSecond) | Half(atFirst + half, atSecond + half) << half;
    }

  private:
    QV_AVX2 uint64_t Half(const char* atFirst, const char* atSecond) const {
        const __m256i both = _mm256_and_si256(Equal(atFirst, first_, otherFirst_),
                                              Equal(atSecond, second_, otherSecond_));
        return static_cast<uint32_t>(_mm256_movemask_epi8(both));
    }

    QV_AVX2 static __m256i Equal(const char* bytes, __m256i wanted, __m256i other) {
        const __m256i word = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
        const __m256i equal = _mm256_cmpeq_epi8(word, wanted);
        return ignoresCase ? _mm256_or_si256(equal, _mm256_cmpeq_epi8(word, other)) : equal;
    }

    __m256i first_;
    __m256i second_;
    __m256i otherFirst_;
    __m256i otherSecond_;
};

}  // namespace

template <class Pairs>
const char* LiteralFinder::FindInBlocks(const char*& begin, const char* end) const {
    const Pairs pairs(
        TwoBytes{text_[first_], text_[second_], otherCase_[first_], otherCase_[second_]});
    // All loads end before `end`: the last byte of the text is at most `text_.size() - 1` away.
    for (; static_cast<size_t>(end - begin) >= kBlock + text_.size(); begin += kBlock) {
        uint64_t places = pairs.Places(begin + first_, begin + second_);
        for (; places != 0; places &= places - 1) {
            const char* const place = begin + __builtin_ctzll(places);
            if (Matches(place)) {
                return place;
            }
        }
    }
    return nullptr;
}

QV_AVX2 __attribute__((flatten)) const char* LiteralFinder::FindWithAvx2(const char*& begin,
                                                                         const char* end) const {
    return ignoreCase_ ? FindInBlocks<Avx2Pairs<true>>(begin, end)
                       : FindInBlocks<Avx2Pairs<false>>(begin, end);
}

const char* LiteralFinder::FindWithSse2(const char*& begin, const char* end) const {
    return ignoreCase_ ? FindInBlocks<Sse2Pairs<true>>(begin, end)
                       : FindInBlocks<Sse2Pairs<false>>(begin, end);
}

const char* LiteralFinder::Find(const char* begin, const char* end) const {
    const char* const found = usesAvx2_ ? FindWithAvx2(begin, end) : FindWithSse2(begin, end);
    return found != nullptr ? found : FindSlowly(begin, end);
}

bool LiteralFinder::HasAvx2() {
    return __builtin_cpu_supports("avx2") != 0;
}
#else
const char* LiteralFinder::Find(const char* begin, const char* end) const {
    if (ignoreCase_) {
        return FindSlowly(begin, end);
    }
    return static_cast<const char*>(
        memmem(begin, static_cast<size_t>(end - begin), text_.data(), text_.size()));
}

bool LiteralFinder::HasAvx2() {
    return false;
}
#endif

}  // namespace NS_LOG_READER
