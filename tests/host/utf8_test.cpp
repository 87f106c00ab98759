// The texts of log records become valid UTF-8.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bundlemgr/logsupport.h"

using NS_BUNDLEMGR1::Convert2UTFforLog;

namespace {

const std::string kReplacement = "\xEF\xBF\xBD";

std::string Encode(uint32_t point) {
    const auto byte = [](uint32_t value) { return static_cast<char>(value); };
    if (point < 0x80) {
        return {byte(point)};
    }
    if (point < 0x800) {
        return {byte(0xC0 | point >> 6), byte(0x80 | (point & 0x3F))};
    }
    if (point < 0x10000) {
        return {byte(0xE0 | point >> 12), byte(0x80 | (point >> 6 & 0x3F)),
                byte(0x80 | (point & 0x3F))};
    }
    return {byte(0xF0 | point >> 18), byte(0x80 | (point >> 12 & 0x3F)),
            byte(0x80 | (point >> 6 & 0x3F)), byte(0x80 | (point & 0x3F))};
}

// Knows all characters by having written each of them, and every beginning of a character by
// having cut them off: no rule of the conversion is used again here.
class ReferenceConversion {
  public:
    static const ReferenceConversion& Instance() {
        static const ReferenceConversion reference;
        return reference;
    }

    std::string Convert(const std::string& text) const {
        std::string result;
        for (size_t at = 0; at < text.size();) {
            size_t length = 0;  // of the longest piece that is known; no character begins another
            size_t piece = 0;
            for (; at + length < text.size(); ++length) {
                const size_t longer = known_[piece].longer[ByteAt(text, at + length)];
                if (longer == 0) {
                    break;
                }
                piece = longer;
            }
            result += known_[piece].isWhole ? text.substr(at, length) : kReplacement;
            at += std::max<size_t>(length, 1);
        }
        return result;
    }

  private:
    ReferenceConversion() {
        for (uint32_t point = 0; point <= 0x10FFFF; ++point) {
            if (point >= 0xD800 && point <= 0xDFFF) {
                continue;
            }
            const std::string character = Encode(point);
            size_t piece = 0;
            for (size_t i = 0; i + 1 < character.size(); ++i) {
                piece = Lengthen(piece, ByteAt(character, i));
            }
            known_[piece].longer[ByteAt(character, character.size() - 1)] = kWhole;
        }
    }

    static unsigned char ByteAt(const std::string& text, size_t at) {
        return static_cast<unsigned char>(text[at]);
    }

    // Returns the place of the piece with one byte more.
    size_t Lengthen(size_t piece, unsigned char byte) {
        if (known_[piece].longer[byte] == 0) {
            known_.emplace_back();
            known_[piece].longer[byte] = static_cast<uint16_t>(known_.size() - 1);
        }
        return known_[piece].longer[byte];
    }

    // A beginning of characters, or a whole one.
    struct Piece {
        bool isWhole = false;
        // The places of those with one byte more; 0 where there is none.
        std::array<uint16_t, 0x100> longer = {};
    };

    // All whole characters share a place, since none begins another.
    static constexpr uint16_t kWhole = 1;

    // The empty piece, the whole characters, and all beginnings.
    std::vector<Piece> known_ = {{false, {}}, {true, {}}};
};

std::string Hex(const std::string& text) {
    static const char* const kDigits = "0123456789abcdef";
    std::string hex;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        hex += {kDigits[byte >> 4], kDigits[byte & 15], ' '};
    }
    return hex;
}

// True when the conversion gives what the reference gives, and the text itself when it is valid.
bool AgreesWithReference(const std::string& text) {
    const std::string expected = ReferenceConversion::Instance().Convert(text);
    std::string converted = "old";
    const std::string& result = Convert2UTFforLog(text, converted);
    return result == expected && (&result == &text) == (expected == text) &&
           (&result == &text || &result == &converted);
}

bool IsPassed(const std::string& text) {
    std::string converted;
    return &Convert2UTFforLog(text, converted) == &text;
}

TEST(Utf8, PassesValidTextsUntouched) {
    for (const std::string text :
         {"", "plain text", "M\xC3\xBCnchen", "\xE5\x8D\x8E", "\xF0\x9F\x93\xA1 antenna",
          "exactly8", "just a bit longer than eight \xC3\xA9", "\xEF\xBF\xBD", "\xEF\xBB\xBF"}) {
        std::string converted = "old";
        EXPECT_EQ(&Convert2UTFforLog(text, converted), &text) << text;
        EXPECT_EQ(converted, "old");
    }
    EXPECT_TRUE(IsPassed(std::string("a\0b\0\0\0\0\0\0\0\0\0c", 13)));
    for (uint32_t point = 0; point <= 0x10FFFF; ++point) {
        if (point < 0xD800 || point > 0xDFFF) {
            ASSERT_TRUE(IsPassed(Encode(point))) << point;
        }
    }
}

// "?" stands for the mark.
TEST(Utf8, ReplacesWhatIsNoCharacter) {
    const std::pair<const char*, const char*> cases[] = {
        // Bytes of another encoding.
        {"M\xFCnchen", "M?nchen"},
        {"\xBB\xAA\xCE\xAA", "??\xCE\xAA"},
        // A character that was cut off has one mark.
        {"cut \xE5\x8D", "cut ?"},
        {"\xF0\x9F\x93", "?"},
        {"\xF0\x9F\x93x", "?x"},
        {"\xC3", "?"},
        {"\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64", "a???b?c??d"},
        // Each byte of what cannot be a character: too long a form, a surrogate, beyond the last
        // character, bytes that are never used.
        {"\xC0\xAF", "??"},
        {"\xE0\x80\xAF", "???"},
        {"\xED\xA0\x80", "???"},
        {"\xF4\x90\x80\x80", "????"},
        {"\xFE\xFF\xF5", "???"}};
    for (const auto& [text, shown] : cases) {
        std::string expected;
        for (const char c : std::string(shown)) {
            expected += c == '?' ? kReplacement : std::string(1, c);
        }
        std::string converted;
        EXPECT_EQ(Convert2UTFforLog(text, converted), expected) << Hex(text);
    }
}

TEST(Utf8, ReusesTheStorageOfTheResult) {
    std::string converted = "left over from an earlier record that was much longer";
    EXPECT_EQ(Convert2UTFforLog("\xFF", converted), kReplacement);
    EXPECT_EQ(Convert2UTFforLog("a\xFF", converted), "a" + kReplacement);
}

TEST(Utf8, TreatsEveryPairOfBytesAsTheReferenceDoes) {
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const std::string text = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        ASSERT_TRUE(AgreesWithReference(text)) << Hex(text);
    }
}

// The bytes at the edges of every rule, in all combinations of up to four.
TEST(Utf8, TreatsAllEdgesAsTheReferenceDoes) {
    const std::string edges =
        "\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4"
        "\xF5\xFF";
    const size_t count = edges.size();
    for (size_t i = 0; i < count * count * count * count; ++i) {
        const std::string text = {edges[i % count], edges[i / count % count],
                                  edges[i / count / count % count],
                                  edges[i / count / count / count]};
        ASSERT_TRUE(AgreesWithReference(text)) << Hex(text);
    }
}

TEST(Utf8, TreatsRandomTextsAsTheReferenceDoes) {
    std::mt19937 random(20240305);
    const auto below = [&random](uint32_t limit) {
        return static_cast<uint32_t>(random() % limit);
    };
    for (int round = 0; round < 100'000; ++round) {
        std::string text;
        for (uint32_t piece = below(12); piece > 0; --piece) {
            const uint32_t kind = below(8);
            if (kind < 3) {
                text.append(below(20), static_cast<char>(below(0x80)));
            } else if (kind < 6) {
                text += Encode(below(0x110000));  // surrogates included
            } else {
                text += static_cast<char>(below(0x100));
            }
        }
        if (!text.empty() && below(2) == 0) {
            text.erase(below(static_cast<uint32_t>(text.size())), 1);
        }
        ASSERT_TRUE(AgreesWithReference(text)) << Hex(text);
    }
}

}  // namespace
