#include "output/visibletext.h"

#include <algorithm>

namespace NS_LOG_READER {
namespace {

// Encoded characters that lie side by side, from the first to the last of them.
struct Range {
    std::string_view first;
    std::string_view last;
};

constexpr Range kHarmful[] = {
    {"\xC2\x80", "\xC2\x9F"},          // control characters
    {"\xD8\x9C", "\xD8\x9C"},          // a mark of direction
    {"\xE2\x80\x8B", "\xE2\x80\x8F"},  // without width, and marks of direction
    {"\xE2\x80\xA8", "\xE2\x80\xAE"},  // ends of lines, and changes of direction
    {"\xE2\x81\xA0", "\xE2\x81\xAF"},  // the same
};

bool IsControl(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return (byte < 0x20 && character != '\t') || byte == 0x7F;
}

// How many bytes at the beginning of the text must not be put as they are.
size_t HarmfulSize(std::string_view text) {
    if (IsControl(text.front())) {
        return 1;
    }
    for (const Range& range : kHarmful) {
        const std::string_view start = text.substr(0, range.first.size());
        if (text.front() == range.first.front() && start >= range.first && start <= range.last) {
            return start.size();
        }
    }
    return 0;
}

}  // namespace

void PutVisible(Output& output, std::string_view text) {
    constexpr const char* kDigits = "0123456789abcdef";
    while (!text.empty()) {
        const size_t harmful = HarmfulSize(text);
        for (size_t i = 0; i < harmful; ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            output.Put("\\x");
            output.Put(kDigits[byte >> 4]);
            output.Put(kDigits[byte & 15]);
        }
        if (harmful == 0) {
            output.Put(text.front());
        }
        text.remove_prefix(std::max<size_t>(harmful, 1));
    }
}

}  // namespace NS_LOG_READER
