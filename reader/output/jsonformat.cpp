#include <array>
#include <cstring>

#include "output/recordformat.h"

namespace NS_LOG_READER {
namespace {

// What becomes of a byte: 0: it stays; 1: it is part of a character beyond ASCII; 'u': \u00XX;
// other: a backslash and this.
constexpr std::array<char, 256> MakeEscapes() {
    std::array<char, 256> escapes{};
    for (size_t i = 0; i < 0x20; ++i) {
        escapes[i] = 'u';
    }
    for (size_t i = 0x80; i < 0x100; ++i) {
        escapes[i] = 1;
    }
    escapes['\n'] = 'n';
    escapes['\t'] = 't';
    escapes['\r'] = 'r';
    escapes['"'] = '"';
    escapes['\\'] = '\\';
    escapes[0x7f] = 'u';
    return escapes;
}

constexpr std::array<char, 256> kEscapes = MakeEscapes();

// No byte becomes longer than "\u00XX".
constexpr size_t kLongestEscape = 6;

unsigned char ByteAt(std::string_view text, size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// The length of the UTF-8 character at the beginning of the text; 0: none is there.
size_t CharacterLength(std::string_view text) {
    const unsigned char first = ByteAt(text, 0);
    const unsigned char second = ByteAt(text, 1);
    const auto follows = [&](size_t at) { return (ByteAt(text, at) & 0xC0) == 0x80; };
    if (first >= 0xC2 && first <= 0xDF) {
        return follows(1) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        const bool isOverlong = first == 0xE0 && second < 0xA0;
        const bool isSurrogate = first == 0xED && second > 0x9F;
        return follows(1) && follows(2) && !isOverlong && !isSurrogate ? 3 : 0;
    }
    const bool isOutside = (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    const bool isLong = first >= 0xF0 && first <= 0xF4 && follows(1) && follows(2) && follows(3);
    return isLong && !isOutside ? 4 : 0;
}

char* PutEscape(char escape, unsigned char byte, char* out) {
    constexpr const char* digits = "0123456789abcdef";
    *out++ = '\\';
    *out++ = escape;
    if (escape == 'u') {
        *out++ = '0';
        *out++ = '0';
        *out++ = digits[byte >> 4];
        *out++ = digits[byte & 15];
    }
    return out;
}

char* PutEscaped(std::string_view text, char* out) {
    size_t at = 0;
    while (at < text.size()) {
        size_t end = at;
        while (end < text.size() && kEscapes[static_cast<unsigned char>(text[end])] == 0) {
            ++end;
        }
        std::memcpy(out, text.data() + at, end - at);
        out += end - at;
        at = end;
        if (at == text.size()) {
            break;
        }
        const auto byte = static_cast<unsigned char>(text[at]);
        if (kEscapes[byte] != 1) {
            out = PutEscape(kEscapes[byte], byte, out);
            ++at;
            continue;
        }
        const size_t length = CharacterLength(text.substr(at));
        const std::string_view character = length == 0 ? "\xEF\xBF\xBD" : text.substr(at, length);
        std::memcpy(out, character.data(), character.size());
        out += character.size();
        at += length == 0 ? 1 : length;
    }
    return out;
}

class JsonFormat final : public RecordFormat {
  public:
    explicit JsonFormat(const std::vector<Field>& fields)
        : fields_(fields.empty() ? AllFields() : fields) {
        for (const Field& field : fields_) {
            labels_.push_back(",\"" + std::string(field.name) + "\":");
        }
    }

    void Write(Output& output, const Found& found) override {
        output.Put("{\"v\":");
        output.PutNumber(kJsonVersion);
        for (size_t i = 0; i < fields_.size(); ++i) {
            output.Put(labels_[i]);
            const FieldValue value = fields_[i].get(found);
            if (value.kind == FieldValue::Text) {
                PutJsonString(output, value.text);
            } else if (value.kind == FieldValue::Number) {
                output.PutNumber(value.number);
            } else {
                output.Put("null");
            }
        }
        output.Put(found.record.torn ? ",\"torn\":true" : "");
        output.Put(found.isHit ? "}\n" : ",\"context\":true}\n");
    }

  private:
    std::vector<Field> fields_;
    std::vector<std::string> labels_;
};

}  // namespace

void PutJsonString(Output& output, std::string_view text) {
    // Long texts in parts, so that the room for the worst case stays small. A part ends where a
    // character does.
    constexpr size_t part = 32768;
    output.Put('"');
    while (!text.empty()) {
        size_t size = text.size() < part ? text.size() : part;
        while (size < text.size() && size > part - 4 && (ByteAt(text, size) & 0xC0) == 0x80) {
            --size;
        }
        char* const out = output.Room(size * kLongestEscape);
        output.Commit(PutEscaped(text.substr(0, size), out));
        text.remove_prefix(size);
    }
    output.Put('"');
}

std::unique_ptr<RecordFormat> MakeJsonFormat(const FormatOptions& options) {
    return std::make_unique<JsonFormat>(options.fields);
}

}  // namespace NS_LOG_READER
