// Makes texts safe for a terminal.
#include "agentctl/terminaltext.h"

#include <langinfo.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstring>

namespace NS_REFERENCE_HOST {

namespace {

// A character at the start of a text: how many bytes, and which. Size 0: none is valid there.
struct Character {
    std::size_t size;
    uint32_t code;
};

std::size_t SizeByLead(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead < 0xE0) {
        return 2;
    }
    if (lead >= 0xE0 && lead < 0xF0) {
        return 3;
    }
    return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

Character DecodeAt(const std::string& text, std::size_t position) {
    const auto lead = static_cast<unsigned char>(text[position]);
    const std::size_t size = SizeByLead(lead);
    if (size <= 1) {
        return {size, lead};
    }
    if (text.size() - position < size) {
        return {0, lead};
    }
    uint32_t code = lead & (0xFFU >> (size + 1));
    for (std::size_t index = 1; index < size; ++index) {
        const auto next = static_cast<unsigned char>(text[position + index]);
        if ((next & 0xC0U) != 0x80) {
            return {0, lead};
        }
        code = code << 6U | (next & 0x3FU);
    }
    const bool tooLong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    const bool noCharacter = (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF;
    return {tooLong || noCharacter ? 0 : size, code};
}

bool IsBetween(uint32_t code, uint32_t first, uint32_t last) {
    return code >= first && code <= last;
}

// Control characters, line and paragraph separators, marks without width and marks of direction.
bool IsHarmful(uint32_t code) {
    return code < 0x20 || IsBetween(code, 0x7F, 0x9F) || code == 0xAD || code == 0x61C ||
           IsBetween(code, 0x200B, 0x200F) || IsBetween(code, 0x2028, 0x202E) ||
           IsBetween(code, 0x2060, 0x206F) || code == 0xFEFF || IsBetween(code, 0xE0000, 0xE007F);
}

void AppendByte(std::string& result, char byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(byte);
    if (byte == '\n') {
        result += "\\n";
    } else if (byte == '\t') {
        result += "\\t";
    } else {
        result += {'\\', 'x', kDigits[value >> 4U], kDigits[value & 0xFU]};
    }
}

}  // namespace

bool TerminalShowsUtf8() {
    std::setlocale(LC_CTYPE, "");
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

std::string EscapeForTerminal(const std::string& text, bool utf8) {
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        const Character character = DecodeAt(text, position);
        const std::size_t size = std::max<std::size_t>(character.size, 1);
        if (character.code == '\\') {
            result += "\\\\";
        } else if (character.size == 0 || IsHarmful(character.code) || (size > 1 && !utf8)) {
            for (std::size_t index = 0; index < size; ++index) {
                AppendByte(result, text[position + index]);
            }
        } else {
            result.append(text, position, size);
        }
        position += size;
    }
    return result;
}

std::string ReplaceInvalidUtf8(const std::string& text) {
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t size = DecodeAt(text, position).size;
        if (size == 0) {
            result += "\xEF\xBF\xBD";
        } else {
            result.append(text, position, size);
        }
        position += std::max<std::size_t>(size, 1);
    }
    return result;
}

std::size_t CountCharacters(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80;
    }));
}

}  // namespace NS_REFERENCE_HOST
