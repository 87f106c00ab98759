// Which values of which messages are masked, and by which rule.
#include "masking/asnmasking.h"

namespace NS_LOG_SERVICE1 {

namespace {

// A new key is one more word here; a new message is one more line in kMaskedMessages below.
constexpr KeySet kCustomer{"customer:"};
constexpr KeySet kLocation{"roomID",       "equipmentRoomName", "cabinetName", "name",     "memo",
                           "subshelfMemo", "siteName",          "country",     "province", "city",
                           "location"};
constexpr KeySet kElementPassword{"NEPwd"};
constexpr KeySet kTransferPassword{"<FTPPassWord>"};
constexpr std::string_view kClosingTag = "</FTPPassWord>";
constexpr KeySet kTransferPasswordEnd{kClosingTag};

// Masks from text[at] up to the next `delimiter`, or to the end of the text, and returns where that
// is. Values are short: words of eight bytes are faster here than memchr and memset.
std::size_t MaskUpTo(char delimiter, char* text, std::size_t at, std::size_t length) {
    constexpr std::uint64_t kOnes = 0x0101010101010101U;
    constexpr std::uint64_t kAsterisks = kOnes * '*';
    for (std::uint64_t word = 0; length - at >= sizeof word; at += sizeof word) {
        std::memcpy(&word, text + at, sizeof word);
        word ^= kOnes * static_cast<unsigned char>(delimiter);
        const bool hasDelimiter = ((word - kOnes) & ~word & (kOnes << 7U)) != 0;
        if (hasDelimiter) {
            break;
        }
        std::memcpy(text + at, &kAsterisks, sizeof kAsterisks);
    }
    for (; at < length && text[at] != delimiter; ++at) {
        text[at] = '*';
    }
    return at;
}

// The value is everything behind the key up to the line's end, separators included. A key counts
// inside a longer word too.
//
// One pass over the lines gives the same text as masking key after key. To mask one key leaves a
// line's beginning up to the key's end, and asterisks behind it. No key contains an asterisk or a
// newline, so a further key is found within that beginning or not at all, and leaves a shorter
// beginning that again ends with a key. The key that ends first on the line is never touched,
// because only what stands behind a key's end is masked. So in the end, whatever the order of the
// keys, everything behind the first end of any key is masked.
void MaskRestOfLines(KeyFinder finder, char* text, std::size_t length) {
    std::size_t end = 0;
    while ((end = finder.FindEnd(end)) != KeyFinder::kNone) {
        end = MaskUpTo('\n', text, end, length);
    }
}

// The value stands between the next two quotes behind the key, on whatever line they are; without
// a second quote it is the rest of the text. The character right behind the key separates it from
// what follows and never opens the value. The closing quote opens no value either.
void MaskQuotedValues(KeyFinder finder, char* text, std::size_t length) {
    std::size_t end = 0;
    while ((end = finder.FindEnd(end)) != KeyFinder::kNone) {
        const std::size_t quote = std::string_view(text, length).find('"', end + 1);
        if (quote == std::string_view::npos) {
            return;
        }
        end = MaskUpTo('"', text, quote + 1, length);
    }
}

// The value stands between the opening tag and the next closing tag. Without a closing tag there
// is no value.
void MaskTaggedValues(KeyFinder finder, char* text, std::size_t) {
    KeyFinder closingTags = finder.For(kTransferPasswordEnd);
    std::size_t begin = 0;
    while ((begin = finder.FindEnd(begin)) != KeyFinder::kNone) {
        const std::size_t end = closingTags.FindEnd(begin);
        if (end == KeyFinder::kNone) {
            return;
        }
        std::memset(text + begin, '*', end - kClosingTag.size() - begin);
        begin = end;
    }
}

struct MaskedMessage {
    std::string_view typeName;
    const KeySet* keys;
    void (*rule)(KeyFinder finder, char* text, std::size_t length);
};

constexpr MaskedMessage kMaskedMessages[] = {
    {"QAsnGetWDMSNCsByIdxsRsp", &kCustomer, MaskRestOfLines},
    {"QAsnGetSNCsByIdxsRsp", &kCustomer, MaskRestOfLines},
    {"QAsnGetSNCsByCIDsRsp", &kCustomer, MaskRestOfLines},
    {"QAsnGetWDMSNCsByCIDsRsp", &kCustomer, MaskRestOfLines},
    {"QAsnGetPhysicalLocationInfoRsp", &kLocation, MaskRestOfLines},
    {"QAsnGetNEInfoRsp", &kElementPassword, MaskQuotedValues},
    {"QAsnCreateNERpt", &kElementPassword, MaskQuotedValues},
    {"AsneVOXScheduleCreateReq", &kTransferPassword, MaskTaggedValues},
};

}  // namespace

void MaskAsnText(std::string_view typeName, char* text, std::size_t length,
                 KeyFilter* filter) noexcept {
    for (const MaskedMessage& message : kMaskedMessages) {
        if (message.typeName == typeName) {
            message.rule(KeyFinder(filter, *message.keys, text, length), text, length);
        }
    }
}

}  // namespace NS_LOG_SERVICE1
