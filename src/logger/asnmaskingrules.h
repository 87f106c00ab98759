// The rules by which a masked value follows its key, each as what it makes of one block of a text
// after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// A text is gone through once, in blocks of this many bytes. A set of places in a block is a
// number, MaskingPlaces; the block's first byte is the lowest bit.
//
// Each rule has the operations
//   Idle          whether a block in which no key ends has nothing to mask and changes nothing, so
//                 that it may be left out;
//   MaskedPlaces  the places to mask in the next block, text[at, at + kMaskingBlock), given the
//                 places where keys have their last character and those where kDelimiter stands.
//
// Thread safety of the rules: each object masks one text, on one thread.
constexpr std::size_t kMaskingBlock = 64;
using MaskingPlaces = std::uint64_t;

constexpr char kMaskCharacter = '*';

// The value is everything behind the key up to the line's end, separators included. A key counts
// inside a longer word too.
//
// One pass over the text does what masking key after key comes to. Masking one key leaves of each
// line a beginning as it was, and asterisks from there up to the newline. No key contains an
// asterisk or a newline, so every further key is found within that beginning or not at all, and
// again leaves a beginning that ends where a key ends. The key that ends first on the line is
// never touched, as nothing is masked but what stands behind the end of a key. So when all keys
// have had their turn, in whatever order, everything behind the first end of any key is masked.
class RestOfLineRule {
  public:
    static constexpr char kDelimiter = '\n';

    explicit RestOfLineRule(char*) {}

    bool Idle() const { return !masking_; }

    MaskingPlaces MaskedPlaces(std::size_t, MaskingPlaces keyEnds, MaskingPlaces newlines) {
        const MaskingPlaces inLine = ~newlines;
        const MaskingPlaces starts = ((keyEnds << 1U) | (masking_ ? 1U : 0U)) & inLine;
        // The rest of a line is a run of ones in inLine. Adding a start to it carries up to the
        // newline and clears what it passes; further starts in the same run stay as they are.
        const MaskingPlaces masked = (((starts + inLine) ^ inLine) | starts) & inLine;
        masking_ = ((masked | keyEnds) >> (kMaskingBlock - 1)) != 0;
        return masked;
    }

  private:
    bool masking_ = false;  // the next block begins within a masked rest of a line
};

// The value stands between the next two quotes behind the key, on whatever line they are; without
// a second quote it is the rest of the text. The character right behind the key separates it from
// what follows and never opens the value. After a value the next key is looked for from the
// closing quote on.
class QuotedRule {
  public:
    static constexpr char kDelimiter = '"';

    explicit QuotedRule(char*) {}

    bool Idle() const { return awaited_ == Awaited::kKey; }

    MaskingPlaces MaskedPlaces(std::size_t, MaskingPlaces keyEnds, MaskingPlaces quotes) {
        MaskingPlaces masked = 0;
        std::size_t place = 0;
        while (place < kMaskingBlock) {
            const MaskingPlaces left = ~MaskingPlaces{0} << place;
            switch (awaited_) {
                case Awaited::kKey:
                    place = Behind(keyEnds & left, Awaited::kSeparator);
                    break;
                case Awaited::kSeparator:
                    ++place;
                    awaited_ = Awaited::kOpeningQuote;
                    break;
                case Awaited::kOpeningQuote:
                    place = Behind(quotes & left, Awaited::kClosingQuote);
                    break;
                case Awaited::kClosingQuote:
                    masked |= left & BeforeFirst(quotes & left);
                    place = First(quotes & left);
                    awaited_ = place < kMaskingBlock ? Awaited::kKey : Awaited::kClosingQuote;
                    break;
            }
        }
        return masked;
    }

  private:
    enum class Awaited { kKey, kSeparator, kOpeningQuote, kClosingQuote };

    static std::size_t First(MaskingPlaces places) {
        return places == 0 ? kMaskingBlock : static_cast<std::size_t>(__builtin_ctzll(places));
    }

    // All places of the block when there are no `places`.
    static MaskingPlaces BeforeFirst(MaskingPlaces places) { return (places & (~places + 1)) - 1; }

    // Goes behind the first of `places`, where `next` is awaited, or to the end of the block.
    std::size_t Behind(MaskingPlaces places, Awaited next) {
        awaited_ = places == 0 ? awaited_ : next;
        return places == 0 ? kMaskingBlock : First(places) + 1;
    }

    Awaited awaited_ = Awaited::kKey;
};

// The value stands between the opening tag and the next closing tag. Without a closing tag there
// is no value. The keys are the two tags; as tags cannot overlap, their ends come in the order of
// the tags.
class TaggedRule {
  public:
    static constexpr char kDelimiter = '<';  // of no interest to this rule
    static constexpr std::string_view kOpeningTag = "<FTPPassWord>";
    static constexpr std::string_view kClosingTag = "</FTPPassWord>";

    explicit TaggedRule(char* text) : text_(text) {}

    // An opening tag alone masks nothing.
    bool Idle() const { return true; }

    MaskingPlaces MaskedPlaces(std::size_t at, MaskingPlaces keyEnds, MaskingPlaces) {
        MaskingPlaces masked = 0;
        for (; keyEnds != 0; keyEnds &= keyEnds - 1) {
            const std::size_t end = at + static_cast<std::size_t>(__builtin_ctzll(keyEnds)) + 1;
            const bool isOpening = text_[end - kOpeningTag.size()] == kOpeningTag.front();
            if (isOpening && !inValue_) {
                value_ = end;
                inValue_ = true;
            } else if (!isOpening && inValue_) {
                masked |= MaskValue(end - kClosingTag.size(), at);
                inValue_ = false;
            }
        }
        return masked;
    }

  private:
    // Masks what of the value stands in front of the block, and returns its places in the block.
    MaskingPlaces MaskValue(std::size_t end, std::size_t at) {
        if (value_ < at) {
            const std::size_t endInFront = end < at ? end : at;
            std::memset(text_ + value_, kMaskCharacter, endInFront - value_);
            value_ = at;
        }
        if (end <= at) {
            return 0;
        }
        return (MaskingPlaces{1} << (end - at)) - (MaskingPlaces{1} << (value_ - at));
    }

    char* text_;
    bool inValue_ = false;
    std::size_t value_ = 0;  // where the value begins, while inValue_
};

}  // namespace NS_LOG_SERVICE1
