// Which values of which messages are masked, and by which rule.
#include "masking/asnmasking.h"

#include <algorithm>

#include "masking/blocks.h"

namespace NS_LOG_SERVICE1 {

namespace {

// A new key is one more word here; a new message is one more line in kMaskedMessages below.
constexpr KeySet kCustomer{"customer:"};
constexpr KeySet kLocation{"roomID",       "equipmentRoomName", "cabinetName", "name",     "memo",
                           "subshelfMemo", "siteName",          "country",     "province", "city",
                           "location"};
constexpr KeySet kElementPassword{"NEPwd"};
constexpr KeySet kTransferPassword{"FTPPassWord"};  // within both tags

// The value is everything behind the key up to the line's end, separators included. A key counts
// inside a longer word too.
//
// One pass gives the same text as masking key after key. Each key leaves the line's beginning up to
// the key's end, and asterisks behind it. No key has an asterisk or a newline, so a further key is
// found within that beginning or not at all. The key that ends first is never touched. So in the
// end, whatever the order of the keys, everything behind the first end of any key is masked.
struct RestOfLineRule {
    static constexpr std::size_t kInFront = 0;
    static constexpr char kDelimiter = '\n';

    bool IsIdle() const { return !isMasking; }

    Places MaskedPlaces(char*, unsigned first, Places keyEnds, Places newlines) {
        const Places inLine = ~newlines;
        const Places starts = (keyEnds | Places{isMasking} << first) & inLine;
        // The rest of a line is a run of ones in inLine. Adding a start to it carries up to the
        // newline and clears what it passes; further starts in the same run stay as they are.
        const Places masked = (((starts + inLine) ^ inLine) | starts) & inLine;
        isMasking = masked >> (kBlock - 1) != 0;
        return masked;
    }

    bool isMasking = false;  // the block before ended within a masked rest of a line
};

// The value stands between the next two quotes behind the key, on whatever line they are; without
// a second quote it is the rest of the text. The character right behind the key separates it from
// what follows and never opens the value. The closing quote opens no value either.
struct QuotedRule {
    static constexpr std::size_t kInFront = 0;
    static constexpr char kDelimiter = '"';

    bool IsIdle() const { return awaitedQuotes == 0; }

    Places MaskedPlaces(char*, unsigned first, Places keyEnds, Places quotes) {
        Places masked = 0;
        for (Places left = ~Places{0} << first;;) {
            const Places awaited = left & (awaitedQuotes == 0 ? keyEnds : quotes);
            const Places next = awaited & (~awaited + 1);
            masked |= awaitedQuotes == 1 ? left & (next - 1) : 0;
            if (next == 0) {
                return masked;
            }
            left &= ~(next | (next - 1));
            awaitedQuotes = (awaitedQuotes + 2) % 3;
        }
    }

    unsigned awaitedQuotes = 0;  // two behind a key, one within a value, else none
};

// The value stands between the opening tag and the next closing tag. Without a closing tag there
// is no value. Tags do not overlap.
struct TaggedRule {
    static constexpr std::size_t kInFront = 1;  // at least one character of the tag
    static constexpr char kDelimiter = '<';     // of no interest to this rule

    bool IsIdle() const { return true; }

    // Masks what stands in front of the block itself: only the closing tag tells that it is a
    // value.
    Places MaskedPlaces(char* block, unsigned, Places keyEnds, Places) {
        constexpr std::ptrdiff_t kBack = sizeof "<FTPPassWord" - 1;
        Places masked = 0;
        for (; keyEnds != 0; keyEnds &= keyEnds - 1) {
            char* const tagEnd = block + __builtin_ctzll(keyEnds);
            if (*tagEnd != '>') {
                continue;
            }
            if (value == nullptr) {
                value = tagEnd[-kBack] == '<' ? tagEnd + 1 : nullptr;
            } else if (tagEnd[-kBack] == '/' && tagEnd[-kBack - 1] == '<') {
                char* const valueEnd = tagEnd - kBack - 1;
                if (value >= block) {
                    masked |= (Places{1} << (valueEnd - block)) - (Places{1} << (value - block));
                } else {
                    std::memset(value, '*', static_cast<std::size_t>(valueEnd - value));
                }
                value = nullptr;
            }
        }
        return masked;
    }

    char* value = nullptr;  // where it begins
};

// A rule sees the blocks of a text one after the other; while it is idle, those without the end of
// a key are left out. The places in front of `first` belong to the block before.
// REQUIRES: length >= kBlock + set.minSize + Rule::kInFront.
template <class Rule, const KeySet& set, class Blocks>
void MaskBlocks(char* text, std::size_t length) {
    const Blocks blocks{text};
    Rule rule;
    const std::size_t last = length - kBlock;
    std::size_t previous = 0;
    Places masked = 0;
    for (std::size_t at = set.minSize + Rule::kInFront; at < length;) {
        const std::size_t begin = std::min(at, last);  // the last two blocks overlap
        const auto first = static_cast<unsigned>(at - begin);
        const Places keyEnds = blocks.KeyEnds(begin) >> first << first;
        if (keyEnds != 0 || !rule.IsIdle()) {
            const Places delimiters = blocks.PlacesOf(Rule::kDelimiter, begin);
            // Written only now: a load that overlaps with a recent store has to wait for it.
            blocks.Mask(previous, masked);
            masked = rule.MaskedPlaces(text + begin, first, keyEnds, delimiters);
            previous = begin;
        }
        at = begin + kBlock;
    }
    blocks.Mask(previous, masked);
}

#if defined(__x86_64__)
template <class Rule, const KeySet& set>
QV_AVX2 __attribute__((flatten)) void MaskAvx2Blocks(char* text, std::size_t length) {
    MaskBlocks<Rule, set, Avx2Blocks<set>>(text, length);
}
#endif

template <class Rule, const KeySet& set>
void Mask(KeySearch search, char* text, std::size_t length) {
    constexpr std::size_t kLeast = kBlock + set.minSize + Rule::kInFront;
    if (length < kLeast) {
        char whole[kLeast] = {};
        std::copy_n(text, length, whole);
        Mask<Rule, set>(search, whole, kLeast);
        std::copy_n(whole, length, text);
        return;
    }
#if defined(__x86_64__)
    if (search == KeySearch::kFastest && __builtin_cpu_supports("avx2") != 0) {
        MaskAvx2Blocks<Rule, set>(text, length);
        return;
    }
#endif
    MaskBlocks<Rule, set, PlainBlocks<set>>(text, length);
}

struct MaskedMessage {
    std::string_view typeName;
    void (*mask)(KeySearch search, char* text, std::size_t length);
};

constexpr MaskedMessage kMaskedMessages[] = {
    {"QAsnGetWDMSNCsByIdxsRsp", Mask<RestOfLineRule, kCustomer>},
    {"QAsnGetSNCsByIdxsRsp", Mask<RestOfLineRule, kCustomer>},
    {"QAsnGetSNCsByCIDsRsp", Mask<RestOfLineRule, kCustomer>},
    {"QAsnGetWDMSNCsByCIDsRsp", Mask<RestOfLineRule, kCustomer>},
    {"QAsnGetPhysicalLocationInfoRsp", Mask<RestOfLineRule, kLocation>},
    {"QAsnGetNEInfoRsp", Mask<QuotedRule, kElementPassword>},
    {"QAsnCreateNERpt", Mask<QuotedRule, kElementPassword>},
    {"AsneVOXScheduleCreateReq", Mask<TaggedRule, kTransferPassword>},
};

}  // namespace

void MaskAsnText(std::string_view typeName, char* text, std::size_t length,
                 KeySearch search) noexcept {
    for (const MaskedMessage& message : kMaskedMessages) {
        if (message.typeName == typeName) {
            message.mask(search, text, length);
            return;
        }
    }
}

}  // namespace NS_LOG_SERVICE1
