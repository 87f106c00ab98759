// Hides the passwords and the customer and location data in the text form of ASN messages.
#pragma once

#include <cstddef>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// How the keys are searched for. Both ways give the same text.
enum class KeySearch { kPlain, kFastest };

// Replaces each character of a masked value in text[0, length) by '*'. A text of any other type
// stays as it is. The text is masked in place: a copy could fail on its way back and let the
// unmasked text out. Nothing is allocated. The time is linear in the length, whatever the text.
// REQUIRES: the text contains no zero byte.
//
// Thread safety: the text belongs to the caller; nothing else is touched.
void MaskAsnText(std::string_view typeName, char* text, std::size_t length,
                 KeySearch search = KeySearch::kFastest) noexcept;

}  // namespace NS_LOG_SERVICE1
