// Hides the passwords and the customer and location data in the text form of ASN messages.
#pragma once

#include <cstddef>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// How the keys are searched for. Both ways give the same text.
enum class MaskingPath { kPortable, kAvx2 };

// Whether messages of this type carry values that MaskAsnText masks. Names compare exactly.
bool HasMaskedValues(std::string_view typeName) noexcept;

// Replaces each character of a masked value in text[0, length) by '*'; a text of any other type
// stays as it is. The text must not contain a zero byte. It is masked where it stands, so that
// there is no copy whose way back could fail and let the unmasked text out; nothing is allocated,
// and the time is linear in the length, whatever the text.
//
// Thread safety: the text belongs to the caller; nothing else is touched.
void MaskAsnText(std::string_view typeName, char* text, std::size_t length) noexcept;

// The same on a given path, which must be available. For tests and measurements.
bool IsMaskingPathAvailable(MaskingPath path) noexcept;
void MaskAsnText(MaskingPath path, std::string_view typeName, char* text,
                 std::size_t length) noexcept;

}  // namespace NS_LOG_SERVICE1
