// Which values of which messages are masked, and by which rule.
#include "masking/asnmasking.h"

#include <algorithm>
#include <cstring>

#include "masking/keyset.h"
#include "masking/restofline.h"

namespace NS_LOG_SERVICE1 {

namespace {

// A new key is one more word here; a new message is one more line in kMaskedMessages below.
constexpr KeySet kCustomer{"customer:"};
constexpr KeySet kLocation{"roomID",       "equipmentRoomName", "cabinetName", "name",     "memo",
                           "subshelfMemo", "siteName",          "country",     "province", "city",
                           "location"};
constexpr std::string_view kElementPassword = "NEPwd";
constexpr std::string_view kOpeningTag = "<FTPPassWord>";
constexpr std::string_view kClosingTag = "</FTPPassWord>";

// The value is the rest of the line after the key.
template <const KeySet& set>
void MaskRests(KeySearch search, char* text, std::size_t length) {
#if defined(__x86_64__)
    if (search == KeySearch::kFastest && length >= kBlock + KeySet::kMinSize &&
        __builtin_cpu_supports("avx2") != 0) {
        MaskRestOfLinesAvx2<set>(text, length);
        return;
    }
#endif
    MaskRestOfLines<set>(text, length);
}

// Returns where the next `wanted` ends; null when there is none.
char* PastNext(std::string_view wanted, char* from, const char* end) {
    if (from == end) {
        return nullptr;  // an empty text may have no address
    }
    void* const found =
        memmem(from, static_cast<std::size_t>(end - from), wanted.data(), wanted.size());
    return found == nullptr ? nullptr : static_cast<char*>(found) + wanted.size();
}

// The value stands between the next two quotes after the key, on whatever line they are; without
// a second quote it is the rest of the text. The character right after the key separates it from
// what follows and never opens the value. The closing quote opens no value either.
void MaskQuoted(KeySearch, char* text, std::size_t length) {
    char* const end = text + length;
    for (char* at = PastNext(kElementPassword, text, end); at != nullptr && at != end;
         at = PastNext(kElementPassword, at, end)) {
        char* const value = PastNext("\"", at + 1, end);
        if (value == nullptr) {
            return;
        }
        at = std::find(value, end, '"');
        std::fill(value, at, '*');
    }
}

// The value stands between the opening tag and the next closing tag. Without a closing tag there
// is no value. Tags do not overlap.
void MaskTagged(KeySearch, char* text, std::size_t length) {
    char* const end = text + length;
    for (char* at = text; (at = PastNext(kOpeningTag, at, end)) != nullptr;) {
        char* const value = at;
        at = PastNext(kClosingTag, value, end);
        if (at == nullptr) {
            return;
        }
        std::fill(value, at - kClosingTag.size(), '*');
    }
}

struct MaskedMessage {
    std::string_view typeName;
    void (*mask)(KeySearch search, char* text, std::size_t length);
};

constexpr MaskedMessage kMaskedMessages[] = {
    {"QAsnGetWDMSNCsByIdxsRsp", MaskRests<kCustomer>},
    {"QAsnGetSNCsByIdxsRsp", MaskRests<kCustomer>},
    {"QAsnGetSNCsByCIDsRsp", MaskRests<kCustomer>},
    {"QAsnGetWDMSNCsByCIDsRsp", MaskRests<kCustomer>},
    {"QAsnGetPhysicalLocationInfoRsp", MaskRests<kLocation>},
    {"QAsnGetNEInfoRsp", MaskQuoted},
    {"QAsnCreateNERpt", MaskQuoted},
    {"AsneVOXScheduleCreateReq", MaskTagged},
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
