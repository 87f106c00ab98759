#include "query/literalfinder.h"

#include <cstring>
#include <string_view>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
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

}  // namespace

LiteralFinder::LiteralFinder(std::string text, bool ignoreCase, size_t telling)
    : text_(std::move(text)), otherCase_(text_), ignoreCase_(ignoreCase) {
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
        return std::memcmp(place, text_.data(), text_.size()) == 0;
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

#ifdef __SSE2__
const char* LiteralFinder::Find(const char* begin, const char* end) const {
    constexpr size_t width = sizeof(__m128i);
    const __m128i first = _mm_set1_epi8(text_[first_]);
    const __m128i second = _mm_set1_epi8(text_[second_]);
    const __m128i otherFirst = _mm_set1_epi8(otherCase_[first_]);
    const __m128i otherSecond = _mm_set1_epi8(otherCase_[second_]);
    const auto load = [](const char* place) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(place));
    };
    const auto compare = [&](const char* place) {
        const __m128i a = load(place + first_);
        const __m128i b = load(place + second_);
        if (!ignoreCase_) {
            return _mm_and_si128(_mm_cmpeq_epi8(a, first), _mm_cmpeq_epi8(b, second));
        }
        return _mm_and_si128(
            _mm_or_si128(_mm_cmpeq_epi8(a, first), _mm_cmpeq_epi8(a, otherFirst)),
            _mm_or_si128(_mm_cmpeq_epi8(b, second), _mm_cmpeq_epi8(b, otherSecond)));
    };
    // All loads end before `end`: the last byte of the text is at most `text_.size() - 1` away.
    const auto room = [&](const char* place) { return static_cast<size_t>(end - place); };
    for (; room(begin) >= 4 * width + text_.size(); begin += 4 * width) {
        const __m128i masks[4] = {compare(begin), compare(begin + width),
                                  compare(begin + 2 * width), compare(begin + 3 * width)};
        const __m128i any =
            _mm_or_si128(_mm_or_si128(masks[0], masks[1]), _mm_or_si128(masks[2], masks[3]));
        if (_mm_movemask_epi8(any) == 0) {
            continue;
        }
        for (size_t part = 0; part < 4; ++part) {
            auto bits = static_cast<unsigned>(_mm_movemask_epi8(masks[part]));
            for (; bits != 0; bits &= bits - 1) {
                const char* const place = begin + part * width + __builtin_ctz(bits);
                if (Matches(place)) {
                    return place;
                }
            }
        }
    }
    return FindSlowly(begin, end);
}
#else
const char* LiteralFinder::Find(const char* begin, const char* end) const {
    if (ignoreCase_) {
        return FindSlowly(begin, end);
    }
    return static_cast<const char*>(
        memmem(begin, static_cast<size_t>(end - begin), text_.data(), text_.size()));
}
#endif

}  // namespace NS_LOG_READER
