#define PCRE2_CODE_UNIT_WIDTH 8

#include "query/pattern.h"

#include <pcre2.h>

#include <algorithm>

#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return static_cast<signed char>(character) >= 0; });
}

// A capital after a backslash is a class, such as \S, and says nothing about case.
bool HasCapital(std::string_view text, bool isFixed) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && !isFixed) {
            ++i;
        } else if (text[i] >= 'A' && text[i] <= 'Z') {
            return true;
        }
    }
    return false;
}

}  // namespace

Pattern::Pattern(const std::string& text, bool isFixed) : ignoresCase_(!HasCapital(text, isFixed)) {
    if (text.empty()) {
        return;  // matches everything
    }
    const bool isPlain = isFixed || text.find_first_of("\\^$.[]|()?*+{}") == std::string::npos;
    if (isPlain && IsAscii(text)) {
        literal_ = text;
        finder_ = std::make_unique<LiteralFinder>(text, ignoresCase_);
        return;
    }
    if (!isFixed) {
        literal_ = RequiredLiteral(text, ignoresCase_);
        Compile(text);
    } else if (!ignoresCase_) {
        literal_ = text;
        finder_ = std::make_unique<LiteralFinder>(text);
    } else {
        Compile("\\Q" + text + "\\E");
    }
}

Pattern::~Pattern() {
    pcre2_match_data_free(match_);
    pcre2_code_free(code_);
}

void Pattern::Compile(const std::string& text) {
    uint32_t options = PCRE2_MULTILINE | (ignoresCase_ ? PCRE2_CASELESS : 0U);
    if (!IsAscii(text)) {
        options |= PCRE2_UTF | PCRE2_MATCH_INVALID_UTF;
    }
    int error = 0;
    size_t offset = 0;
    code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), options, &error,
                          &offset, nullptr);
    if (code_ == nullptr) {
        unsigned char message[256];
        pcre2_get_error_message(error, message, sizeof message);
        throw BadRequest("pattern '" + text + "', at " + std::to_string(offset) + ": " +
                         reinterpret_cast<const char*>(message));
    }
    // Where the machine has no compiler for it, patterns are interpreted.
    pcre2_jit_compile(code_, PCRE2_JIT_COMPLETE);
    match_ = pcre2_match_data_create_from_pattern(code_, nullptr);
}

std::string_view Pattern::Find(std::string_view text, size_t from) const {
    if (finder_ != nullptr) {
        const char* const place =
            finder_->Find(text.data() + std::min(from, text.size()), text.data() + text.size());
        return place == nullptr ? std::string_view() : std::string_view(place, literal_.size());
    }
    if (code_ == nullptr) {
        return text.substr(0, 0);
    }
    const int result = pcre2_match(code_, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(),
                                   from, 0, match_, nullptr);
    if (result < 0) {
        return {};  // no match, or one that would take forever
    }
    const size_t* const range = pcre2_get_ovector_pointer(match_);
    return range[1] < range[0] ? text.substr(range[0], 0)
                               : text.substr(range[0], range[1] - range[0]);
}

}  // namespace NS_LOG_READER
