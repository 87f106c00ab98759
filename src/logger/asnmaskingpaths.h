// The ways in which a processor may go through a text while masking it. All give the same result.
#pragma once

#include <cstddef>

#include "logger/asnmaskingkeys.h"

namespace NS_LOG_SERVICE1 {

// Masks text[0, length) by the rule of the name; see asnmaskingrules.h.
using MaskOperation = void(const MaskingKeys& keys, char* text, std::size_t length);

// Thread safety: the operations touch nothing but the given text.
struct MaskingOperations {
    MaskOperation* maskRestOfLines;
    MaskOperation* maskQuotedValues;
    MaskOperation* maskTaggedValues;
};

// For every processor: one table look-up for each byte.
extern const MaskingOperations kPortableMasking;

// A whole block at a time. Only where IsAvx2Available().
extern const MaskingOperations kAvx2Masking;
bool IsAvx2Available() noexcept;

}  // namespace NS_LOG_SERVICE1
