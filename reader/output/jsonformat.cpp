#include <array>
#include <charconv>
#include <cstring>

#include "format/utf8.h"
#include "output/recordformat.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

#ifdef __SSE2__
// Copies sixteen bytes at a time while none of them needs an escape. Returns how many bytes were
// done; more may have been written.
size_t CopyPlain(std::string_view text, char* out) {
    constexpr size_t width = sizeof(__m128i);
    const __m128i blank = _mm_set1_epi8(0x20);
    size_t at = 0;
    for (; at + width <= text.size(); at += width) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at), bytes);
        // As signed numbers, bytes beyond ASCII are below the blank as well.
        const __m128i special = _mm_or_si128(
            _mm_or_si128(_mm_cmplt_epi8(bytes, blank), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'))),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\')),
                         _mm_cmpeq_epi8(bytes, _mm_set1_epi8(0x7f))));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(special));
        if (mask != 0) {
            return at + static_cast<size_t>(__builtin_ctz(mask));
        }
    }
    return at;
}
#else
size_t CopyPlain(std::string_view, char*) {
    return 0;
}
#endif

char* PutEscaped(std::string_view text, char* out) {
    while (!text.empty()) {
        size_t end = CopyPlain(text, out);
        while (end < text.size() && kEscapes[static_cast<unsigned char>(text[end])] == 0) {
            out[end] = text[end];
            ++end;
        }
        out += end;
        text.remove_prefix(end);
        if (text.empty()) {
            break;
        }
        const auto byte = static_cast<unsigned char>(text[0]);
        if (kEscapes[byte] != 1) {
            out = PutEscape(kEscapes[byte], byte, out);
            text.remove_prefix(1);
            continue;
        }
        const size_t length = CharacterLength(text);
        const std::string_view character =
            length == 0 ? kReplacementCharacter : text.substr(0, length);
        std::memcpy(out, character.data(), character.size());
        out += character.size();
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return out;
}

char* PutFixed(std::string_view text, char* out) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

class JsonFormat final : public RecordFormat {
  public:
    explicit JsonFormat(const std::vector<Field>& fields)
        : fields_(fields.empty() ? AllFields() : fields) {
        for (const Field& field : fields_) {
            const std::string before =
                labels_.empty() ? "{\"v\":" + std::to_string(kJsonVersion) : std::string();
            labels_.push_back(before + ",\"" + field.name + "\":");
            for (const Field& other : fields_) {
                hasTwice_ = hasTwice_ || (&other != &field && other.get == field.get);
            }
        }
    }

    void Write(Output& output, const Found& found) override {
        const size_t size = found.record.bytes.size() + found.record.origin->path.size() +
                            found.record.origin->category.size() + found.record.origin->host.size();
        if (size > kLargeRecord || hasTwice_) {
            WriteInParts(output, found);
            return;
        }
        // Each byte of the record stands in one field at most, but for numbers.
        char* out = output.Room(size * kLongestEscape + fields_.size() * kFieldRoom);
        for (size_t i = 0; i < fields_.size(); ++i) {
            out = PutFixed(labels_[i], out);
            const FieldValue value = fields_[i].get(found);
            if (value.kind == FieldValue::Text) {
                *out++ = '"';
                out = PutEscaped(value.text, out);
                *out++ = '"';
            } else if (value.kind == FieldValue::Number) {
                out = std::to_chars(out, out + kFieldRoom, value.number).ptr;
            } else {
                out = PutFixed("null", out);
            }
        }
        output.Commit(PutFixed(End(found), out));
    }

  private:
    static constexpr size_t kLargeRecord = 32768;
    static constexpr size_t kFieldRoom = 80;  // of the label, and of a number or the kind's name

    static std::string_view End(const Found& found) {
        return found.record.torn
                   ? (found.isHit ? ",\"torn\":true}\n" : ",\"torn\":true,\"context\":true}\n")
               : found.isHit ? "}\n"
                             : ",\"context\":true}\n";
    }

    void WriteInParts(Output& output, const Found& found) const {
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
        output.Put(End(found));
    }

    std::vector<Field> fields_;
    std::vector<std::string> labels_;
    bool hasTwice_ = false;  // a field was asked for more than once
};

void PutLabel(Output& output, const char* name) {
    output.Put(",\"");
    output.Put(name);
    output.Put("\":");
}

}  // namespace

void PutJsonText(Output& output, std::string_view text) {
    // Long texts in parts, so that the room for the worst case stays small. A part ends where a
    // character does.
    constexpr size_t part = 32768;
    while (!text.empty()) {
        size_t size = text.size() < part ? text.size() : part;
        while (size < text.size() && size > part - 4 &&
               (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) {
            --size;
        }
        char* const out = output.Room(size * kLongestEscape + kLongestEscape);
        output.Commit(PutEscaped(text.substr(0, size), out));
        text.remove_prefix(size);
    }
}

void PutJsonString(Output& output, std::string_view text) {
    output.Put('"');
    PutJsonText(output, text);
    output.Put('"');
}

void PutJsonMember(Output& output, const char* name, int64_t value) {
    PutLabel(output, name);
    output.PutNumber(value);
}

void PutJsonMember(Output& output, const char* name, uint64_t value) {
    PutJsonMember(output, name, static_cast<int64_t>(value));
}

void PutJsonMember(Output& output, const char* name, std::string_view value) {
    PutLabel(output, name);
    PutJsonString(output, value);
}

std::unique_ptr<RecordFormat> MakeJsonFormat(const FormatOptions& options) {
    return std::make_unique<JsonFormat>(options.fields);
}

}  // namespace NS_LOG_READER
