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

// Most log texts are ASCII: checks many bytes at once.
const Byte* SkipAscii(const Byte* text, const Byte* end) {
    constexpr uint64_t kHighBits = 0x8080808080808080;
    while (end - text >= 32) {
        uint64_t words[4];
        std::memcpy(words, text, sizeof(words));
        if (((words[0] | words[1] | words[2] | words[3]) & kHighBits) != 0) {
            break;
        }
        text += sizeof(words);
    }
    while (end - text >= 8) {
        uint64_t word;
        std::memcpy(&word, text, sizeof(word));
        if ((word & kHighBits) != 0) {
            break;
        }
        text += 8;
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

}  // namespace

namespace NS_BUNDLEMGR1 {

const std::string& Convert2UTFforLog(const std::string& text, std::string& converted) {
    static constexpr char kReplacement[] = "\xEF\xBF\xBD";
    const Byte* next = reinterpret_cast<const Byte*>(text.data());
    const Byte* const end = next + text.size();
    const Byte* wrong = SkipValid(next, end);
    if (wrong == end) {
        return text;
    }
    converted.clear();
    converted.reserve(text.size() + sizeof(kReplacement));
    while (wrong != end) {
        converted.append(reinterpret_cast<const char*>(next), static_cast<size_t>(wrong - next));
        converted.append(kReplacement, sizeof(kReplacement) - 1);
        next = wrong + NextSequence(wrong, end).length;
        wrong = SkipValid(next, end);
    }
    converted.append(reinterpret_cast<const char*>(next), static_cast<size_t>(end - next));
    return converted;
}

}  // namespace NS_BUNDLEMGR1
