// Makes valid UTF-8 of the texts that go into log files.
#include <cstdint>
#include <cstring>

#include "bundlemgr/logsupport.h"

namespace {

using Byte = unsigned char;

// The character or the wrong bytes at the start of a text.
struct Sequence {
    size_t length;  // at least 1
    bool isValid;
};

// The range of the first byte after a lead byte. Narrower than 80..BF where that excludes overlong
// forms, surrogates and values above U+10FFFF.
struct LeadByte {
    size_t length;  // of the whole character; 0: no character starts like this
    Byte lowest;
    Byte highest;
};

LeadByte ClassifyLead(Byte lead) {
    if (lead < 0xC2 || lead > 0xF4) {
        return {0, 0, 0};
    }
    if (lead < 0xE0) {
        return {2, 0x80, 0xBF};
    }
    if (lead < 0xF0) {
        return {3, static_cast<Byte>(lead == 0xE0 ? 0xA0 : 0x80),
                static_cast<Byte>(lead == 0xED ? 0x9F : 0xBF)};
    }
    return {4, static_cast<Byte>(lead == 0xF0 ? 0x90 : 0x80),
            static_cast<Byte>(lead == 0xF4 ? 0x8F : 0xBF)};
}

// Examines a text that starts with a byte above 7F. Invalid bytes end where they cannot be part of
// one character, so each character that was cut off gets one replacement.
Sequence NextSequence(const Byte* text, const Byte* end) {
    const LeadByte lead = ClassifyLead(*text);
    if (lead.length == 0) {
        return {1, false};
    }
    const size_t available = static_cast<size_t>(end - text);
    Byte lowest = lead.lowest;
    Byte highest = lead.highest;
    for (size_t i = 1; i < lead.length; ++i) {
        if (i == available || text[i] < lowest || text[i] > highest) {
            return {i, false};
        }
        lowest = 0x80;
        highest = 0xBF;
    }
    return {lead.length, true};
}

// A character of three bytes whose second byte has the full range. Most scripts other than Latin,
// Greek and Cyrillic consist of these.
bool IsPlainThree(const Byte* text, const Byte* end) {
    return end - text >= 3 && (text[0] & 0xF0) == 0xE0 && text[0] != 0xE0 && text[0] != 0xED &&
           (text[1] & 0xC0) == 0x80 && (text[2] & 0xC0) == 0x80;
}

uint64_t EightBytes(const Byte* text) {
    uint64_t bytes;
    std::memcpy(&bytes, text, sizeof(bytes));
    return bytes;
}

bool AreAscii(uint64_t eightBytes) {
    constexpr uint64_t kHighBits = 0x8080808080808080;
    return (eightBytes & kHighBits) == 0;
}

// Most log texts are ASCII: checks many bytes at once.
const Byte* SkipAscii(const Byte* text, const Byte* end) {
    const Byte* const begin = text;
    while (end - text >= 32 && AreAscii(EightBytes(text) | EightBytes(text + 8) |
                                        EightBytes(text + 16) | EightBytes(text + 24))) {
        text += 32;
    }
    while (end - text >= 8 && AreAscii(EightBytes(text))) {
        text += 8;
    }
    // The last bytes once more, together with some before them.
    if (end - text < 8 && end - begin >= 8 && AreAscii(EightBytes(end - 8))) {
        return end;
    }
    while (text != end && *text < 0x80) {
        ++text;
    }
    return text;
}

// Returns the first byte that is not part of a valid character, or `end`.
const Byte* SkipValid(const Byte* text, const Byte* end) {
    for (;;) {
        text = SkipAscii(text, end);
        if (text == end) {
            return end;
        }
        do {
            if (IsPlainThree(text, end)) {
                text += 3;
                continue;
            }
            const Sequence sequence = NextSequence(text, end);
            if (!sequence.isValid) {
                return text;
            }
            text += sequence.length;
        } while (text != end && *text >= 0x80);
    }
}

// Writes the text from `next` to `end` into `converted`, of which the bytes before `wrong` are
// valid and those after it are not.
__attribute__((noinline)) void Replace(const Byte* next, const Byte* wrong, const Byte* end,
                                       std::string& converted) {
    static constexpr char kReplacement[] = "\xEF\xBF\xBD";
    converted.clear();
    converted.reserve(static_cast<size_t>(end - next) + sizeof(kReplacement));
    while (wrong != end) {
        converted.append(reinterpret_cast<const char*>(next), static_cast<size_t>(wrong - next));
        converted.append(kReplacement, sizeof(kReplacement) - 1);
        next = wrong + NextSequence(wrong, end).length;
        wrong = SkipValid(next, end);
    }
    converted.append(reinterpret_cast<const char*>(next), static_cast<size_t>(end - next));
}

}  // namespace

namespace NS_BUNDLEMGR1 {

const std::string& Convert2UTFforLog(const std::string& text, std::string& converted) {
    const Byte* const begin = reinterpret_cast<const Byte*>(text.data());
    const Byte* const end = begin + text.size();
    const Byte* const wrong = SkipValid(begin, end);
    if (wrong == end) {
        return text;
    }
    Replace(begin, wrong, end, converted);
    return converted;
}

}  // namespace NS_BUNDLEMGR1
