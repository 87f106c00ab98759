// Masks made-up texts with every filter and stops at the first difference from the plain way.
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

using NS_LOG_SERVICE1::FastestKeyFilter;
using NS_LOG_SERVICE1::KeyFilter;
using NS_LOG_SERVICE1::MaskAsnText;
using NS_LOG_SERVICE1::PlainKeyFilter;

constexpr const char* kTypeNames[] = {"QAsnGetPhysicalLocationInfoRsp", "QAsnGetSNCsByCIDsRsp",
                                      "QAsnGetNEInfoRsp", "AsneVOXScheduleCreateReq",
                                      "QAsnGetAlarmsRsp"};

void CheckFilter(KeyFilter* filter, const char* typeName, const std::string& text,
                 const std::string& expected) {
    // An allocation of exactly the text, so that the sanitizer sees every step beyond it.
    const std::unique_ptr<char[]> copy(new char[text.size()]);
    text.copy(copy.get(), text.size());
    MaskAsnText(typeName, copy.get(), text.size(), filter);
    if (expected.compare(0, expected.size(), copy.get(), text.size()) != 0) {
        std::fprintf(stderr, "%s filter, %s: masked differently\n",
                     filter == PlainKeyFilter ? "plain" : "fastest", typeName);
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
    CheckFilter(PlainKeyFilter, typeName, text, expected);
    CheckFilter(FastestKeyFilter(), typeName, text, expected);
    return 0;
}
