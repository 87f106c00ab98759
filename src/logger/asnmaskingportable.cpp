// Masking on every processor.
#include <cstring>

#include "logger/asnmaskingpaths.h"
#include "logger/asnmaskingrules.h"

namespace NS_LOG_SERVICE1 {

namespace {

MaskingPlaces PlacesOf(char character, std::string_view block) {
    MaskingPlaces places = 0;
    for (std::size_t i = block.find(character); i != std::string_view::npos;
         i = block.find(character, i + 1)) {
        places |= MaskingPlaces{1} << i;
    }
    return places;
}

void Mask(char* block, std::size_t size, MaskingPlaces places) {
    while (places != 0) {
        const auto begin = static_cast<std::size_t>(__builtin_ctzll(places));
        const MaskingPlaces unmasked = ~places & (~MaskingPlaces{0} << begin);
        const std::size_t end =
            unmasked == 0 ? kMaskingBlock : static_cast<std::size_t>(__builtin_ctzll(unmasked));
        std::memset(block + begin, kMaskCharacter, (end < size ? end : size) - begin);
        places &= unmasked == 0 ? 0 : ~MaskingPlaces{0} << end;
    }
}

// Finds the places where keys end in block after block of a text.
class KeyEndFinder {
  public:
    KeyEndFinder(const MaskingKeys& keys, const char* text) : keys_(keys), text_(text) {}

    // For text[at, at + size), which follows the block of the previous call.
    MaskingPlaces FindEnds(std::size_t at, std::size_t size) {
        static_assert(MaskingKeys::kSuffix == sizeof mismatches_);
        constexpr std::uint32_t kAllDiffer = 0xFF000000U;
        std::uint32_t mismatches = mismatches_;
        MaskingPlaces ends = 0;
        for (std::size_t i = 0; i < size; ++i) {
            mismatches = (mismatches << 8U) | keys_.Mismatches(text_[at + i]);
            if (mismatches < kAllDiffer && keys_.AnyEndsAt(~mismatches >> 24U, text_, at + i + 1)) {
                ends |= MaskingPlaces{1} << i;
            }
        }
        mismatches_ = mismatches;
        return ends;
    }

  private:
    const MaskingKeys& keys_;
    const char* text_;
    // Byte i: the groups that differ in one of the first i + 1 characters of their suffix from the
    // last i + 1 bytes read. A group that is missing in the last of these has its suffix here.
    std::uint32_t mismatches_ = ~std::uint32_t{0};
};

template <class Rule>
void MaskByRule(const MaskingKeys& keys, char* text, std::size_t length) {
    KeyEndFinder finder(keys, text);
    Rule rule(text);
    for (std::size_t at = 0; at < length; at += kMaskingBlock) {
        const std::size_t size = length - at < kMaskingBlock ? length - at : kMaskingBlock;
        const MaskingPlaces keyEnds = finder.FindEnds(at, size);
        if (keyEnds == 0 && rule.Idle()) {
            continue;
        }
        const MaskingPlaces delimiters = PlacesOf(Rule::kDelimiter, {text + at, size});
        const MaskingPlaces masked = rule.MaskedPlaces(at, keyEnds, delimiters);
        Mask(text + at, size, masked);
    }
}

}  // namespace

const MaskingOperations kPortableMasking = {MaskByRule<RestOfLineRule>, MaskByRule<QuotedRule>,
                                            MaskByRule<TaggedRule>};

}  // namespace NS_LOG_SERVICE1
