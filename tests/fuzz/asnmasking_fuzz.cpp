// Masks made-up texts with either search and stops at the first difference from the plain way.
//
// Input: one byte that chooses the message type, then the text.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "masking/asnmasking.h"
#include "masking/plainmasking.h"

namespace {

using NS_LOG_SERVICE1::KeySearch;
using NS_LOG_SERVICE1::MaskAsnText;

constexpr const char* kTypeNames[] = {"QAsnGetPhysicalLocationInfoRsp", "QAsnGetSNCsByCIDsRsp",
                                      "QAsnGetNEInfoRsp", "AsneVOXScheduleCreateReq",
                                      "QAsnGetAlarmsRsp"};

void CheckSearch(KeySearch search, const char* typeName, const std::string& text,
                 const std::string& expected) {
    // An allocation of exactly the text, so that the sanitizer sees every step beyond it.
    const std::unique_ptr<char[]> copy(new char[text.size()]);
    text.copy(copy.get(), text.size());
    MaskAsnText(typeName, copy.get(), text.size(), search);
    if (expected.compare(0, expected.size(), copy.get(), text.size()) != 0) {
        std::fprintf(stderr, "%s search, %s: masked differently\n",
                     search == KeySearch::kPlain ? "plain" : "fastest", typeName);
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const char* const typeName = kTypeNames[data[0] % std::size(kTypeNames)];
    std::string text(data + 1, data + size);
    for (char& character : text) {
        character = character == '\0' ? '\n' : character;  // a text has no zero byte
    }
    const std::string expected = MaskPlainly(typeName, text);
    CheckSearch(KeySearch::kPlain, typeName, text, expected);
    CheckSearch(KeySearch::kFastest, typeName, text, expected);
    return 0;
}
