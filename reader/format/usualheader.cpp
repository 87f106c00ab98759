#include "format/usualheader.h"

#include <cstdint>
#include <cstring>
#include <limits>

#include "format/fixedtext.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace NS_LOG_READER {

#ifdef __SSE2__
namespace {

// The commas of a header after the one of its time stamp, each with the label that follows it.
enum Comma : size_t { OperationThread, Interface, User, Thread, Level, File, kCommas };

struct Marks {
    size_t commas[kCommas];
    size_t end;  // the newline
};

// False: the first line holds more or fewer commas, or the text ends too soon to be read in words.
bool FindMarks(std::string_view text, size_t from, Marks& marks) {
    constexpr size_t width = sizeof(__m128i);
    const __m128i comma = _mm_set1_epi8(',');
    const __m128i newline = _mm_set1_epi8('\n');
    size_t count = 0;
    for (size_t at = from; at + width <= text.size(); at += width) {
        const __m128i word = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        const __m128i found =
            _mm_or_si128(_mm_cmpeq_epi8(word, comma), _mm_cmpeq_epi8(word, newline));
        auto bits = static_cast<unsigned>(_mm_movemask_epi8(found));
        for (; bits != 0; bits &= bits - 1) {
            const size_t place = at + static_cast<size_t>(__builtin_ctz(bits));
            if (text[place] == '\n') {
                marks.end = place;
                return count == kCommas;
            }
            if (count == kCommas) {
                return false;
            }
            marks.commas[count++] = place;
        }
    }
    return false;
}

constexpr uint64_t kZeros = 0x3030303030303030;

// The last `count` of the eight characters before `end` as a number. False: not all are digits.
bool ReadWord(const char* end, size_t count, uint64_t& value) {
    uint64_t word = 0;
    std::memcpy(&word, end - sizeof word, sizeof word);
    const uint64_t others = count < 8 ? (uint64_t{1} << (64 - 8 * count)) - 1 : 0;
    word = (word & ~others) | (kZeros & others);
    const uint64_t digits = word ^ kZeros;
    // A digit's value is at most 9: adding 0x76 leaves the highest bit alone.
    const uint64_t above = ((digits & 0x7f7f7f7f7f7f7f7f) + 0x7676767676767676) | digits;
    if ((above & 0x8080808080808080) != 0) {
        return false;
    }
    // Neighbours are joined to pairs, pairs to fours, these to one number.
    value = (digits * 2561) >> 8;
    value = ((value & 0x00ff00ff00ff00ff) * 6553601) >> 16;
    value = ((value & 0x0000ffff0000ffff) * 42949672960001) >> 32;
    return true;
}

// Reads a number from `begin` to `end`. It follows a time stamp, so sixteen characters before its
// end can be read.
template <class Number>
bool ReadNumber(const char* begin, const char* end, Number& number) {
    constexpr uint64_t most = std::numeric_limits<Number>::max();
    const bool isNegative = begin < end && *begin == '-' && std::numeric_limits<Number>::is_signed;
    begin += isNegative ? 1 : 0;
    const auto count = static_cast<size_t>(end - begin);
    uint64_t value = 0;
    uint64_t upper = 0;
    if (begin >= end || count > 16 || !ReadWord(end, count < 8 ? count : 8, value) ||
        (count > 8 && !ReadWord(end - 8, count - 8, upper))) {
        return false;
    }
    value += upper * 100000000;
    if (value > most) {
        return false;
    }
    number = static_cast<Number>(isNegative ? -static_cast<int64_t>(value)
                                            : static_cast<int64_t>(value));
    return true;
}

bool HasLabels(std::string_view text, const Marks& marks, std::string_view detailLabel) {
    const auto has = [&](Comma comma, std::string_view label) __attribute__((always_inline)) {
        return StartsWith(text.substr(marks.commas[comma]), label);
    };
    return has(OperationThread, ",TopT:") && has(Interface, ",If:") && has(User, ",UserMsg:") &&
           has(Thread, ", T:") && has(Level, ", DL:") && has(File, ", File: ") &&
           text.size() - marks.end >= detailLabel.size() &&
           std::memcmp(text.data() + marks.end, detailLabel.data(), detailLabel.size()) == 0;
}

// The text from the end of the label, which begins at the comma, to the next mark.
std::string_view Between(std::string_view text, size_t begin, std::string_view label, size_t end) {
    return text.substr(begin + label.size(), end - begin - label.size());
}

// "<file> Func:<function> Line:<line>"
bool TakePlace(std::string_view text, Record& record) {
    constexpr std::string_view functionLabel = " Func:";
    constexpr std::string_view lineLabel = " Line:";
    const size_t function = FindText(text, functionLabel);
    const size_t line = FindLastText(text, lineLabel);
    if (line == std::string_view::npos || function == std::string_view::npos ||
        function + functionLabel.size() > line ||
        !ReadNumber(text.data() + line + lineLabel.size(), text.data() + text.size(),
                    record.line)) {
        return false;
    }
    record.file = text.substr(0, function);
    record.function = Between(text, function, functionLabel, line);
    return true;
}

bool TakeNumber(std::string_view text, int64_t& number) {
    return ReadNumber(text.data(), text.data() + text.size(), number);
}

}  // namespace

size_t ParseUsualHeader(std::string_view text, std::string_view detailLabel, Record& record) {
    Marks marks;
    const size_t context = record.stamp.size() + 2;
    if (!FindMarks(text, context, marks) || !HasLabels(text, marks, detailLabel)) {
        return 0;
    }
    const size_t* const commas = marks.commas;
    const std::string_view level = Between(text, commas[Level], ", DL:", commas[File]);
    if (!TakeNumber(Between(text, commas[OperationThread], ",TopT:", commas[Interface]),
                    record.operationThread) ||
        !TakeNumber(Between(text, commas[Thread], ", T:", commas[Level]), record.thread) ||
        !ReadNumber(level.data(), level.data() + level.size(), record.level) ||
        !TakePlace(Between(text, commas[File], ", File: ", marks.end), record)) {
        return 0;
    }
    record.operation = text.substr(context, commas[OperationThread] - context);
    record.interface = Between(text, commas[Interface], ",If:", commas[User]);
    record.user = Between(text, commas[User], ",UserMsg:", commas[Thread]);
    return marks.end + detailLabel.size();
}

#else

size_t ParseUsualHeader(std::string_view, std::string_view, Record&) {
    return 0;
}

#endif

}  // namespace NS_LOG_READER
