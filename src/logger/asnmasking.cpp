// Which values of which messages are masked, and by which rule.
#include "logger/asnmasking.h"

#include "logger/asnmaskingkeys.h"
#include "logger/asnmaskingpaths.h"
#include "logger/asnmaskingrules.h"

namespace NS_LOG_SERVICE1 {

namespace {

constexpr MaskingKeys kCustomer{"customer:"};
constexpr MaskingKeys kLocation{
    "roomID",   "equipmentRoomName", "cabinetName", "name", "memo",    "subshelfMemo",
    "siteName", "country",           "province",    "city", "location"};
constexpr MaskingKeys kElementPassword{"NEPwd"};
constexpr MaskingKeys kTransferPassword{TaggedRule::kOpeningTag, TaggedRule::kClosingTag};

struct MaskedMessage {
    std::string_view typeName;
    const MaskingKeys* keys;
    MaskOperation* MaskingOperations::*rule;
};

constexpr MaskedMessage kMaskedMessages[] = {
    {"QAsnGetWDMSNCsByIdxsRsp", &kCustomer, &MaskingOperations::maskRestOfLines},
    {"QAsnGetSNCsByIdxsRsp", &kCustomer, &MaskingOperations::maskRestOfLines},
    {"QAsnGetSNCsByCIDsRsp", &kCustomer, &MaskingOperations::maskRestOfLines},
    {"QAsnGetWDMSNCsByCIDsRsp", &kCustomer, &MaskingOperations::maskRestOfLines},
    {"QAsnGetPhysicalLocationInfoRsp", &kLocation, &MaskingOperations::maskRestOfLines},
    {"QAsnGetNEInfoRsp", &kElementPassword, &MaskingOperations::maskQuotedValues},
    {"QAsnCreateNERpt", &kElementPassword, &MaskingOperations::maskQuotedValues},
    {"AsneVOXScheduleCreateReq", &kTransferPassword, &MaskingOperations::maskTaggedValues},
};

const MaskedMessage* FindMaskedMessage(std::string_view typeName) noexcept {
    for (const MaskedMessage& message : kMaskedMessages) {
        if (message.typeName == typeName) {
            return &message;
        }
    }
    return nullptr;
}

}  // namespace

bool HasMaskedValues(std::string_view typeName) noexcept {
    return FindMaskedMessage(typeName) != nullptr;
}

void MaskAsnText(std::string_view typeName, char* text, std::size_t length) noexcept {
    MaskAsnText(IsAvx2Available() ? MaskingPath::kAvx2 : MaskingPath::kPortable, typeName, text,
                length);
}

bool IsMaskingPathAvailable(MaskingPath path) noexcept {
    return path == MaskingPath::kPortable || IsAvx2Available();
}

void MaskAsnText(MaskingPath path, std::string_view typeName, char* text,
                 std::size_t length) noexcept {
    const MaskedMessage* const message = FindMaskedMessage(typeName);
    if (message == nullptr) {
        return;
    }
    const MaskingOperations& operations =
        path == MaskingPath::kAvx2 ? kAvx2Masking : kPortableMasking;
    (operations.*message->rule)(*message->keys, text, length);
}

}  // namespace NS_LOG_SERVICE1
