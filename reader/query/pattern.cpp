#define PCRE2_CODE_UNIT_WIDTH 8

#include "query/pattern.h"

#include <pcre2.h>

#include <algorithm>
#include <new>

#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return static_cast<signed char>(character) >= 0; });
}

// A match notes here where it may have to go back to; the most is enough for records of some
// megabytes.
constexpr size_t kSmallStack = size_t{32} << 10;
constexpr size_t kMostMemory = size_t{256} << 20;

std::string Explain(int error) {
    unsigned char message[256];
    pcre2_get_error_message(error, message, sizeof message);
    return reinterpret_cast<const char*>(message);
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

void Pattern::Free::operator()(pcre2_code* code) const {
    pcre2_code_free(code);
}
void Pattern::Free::operator()(pcre2_match_data* match) const {
    pcre2_match_data_free(match);
}
void Pattern::Free::operator()(pcre2_match_context* context) const {
    pcre2_match_context_free(context);
}
void Pattern::Free::operator()(pcre2_jit_stack* stack) const {
    pcre2_jit_stack_free(stack);
}

void Pattern::Compile(const std::string& text) {
    uint32_t options = PCRE2_MULTILINE | (ignoresCase_ ? PCRE2_CASELESS : 0U);
    if (!IsAscii(text)) {
        options |= PCRE2_UTF | PCRE2_MATCH_INVALID_UTF;
    }
    int error = 0;
    size_t offset = 0;
    code_.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), options,
                              &error, &offset, nullptr));
    if (code_ == nullptr) {
        throw BadRequest("pattern '" + text + "', at " + std::to_string(offset) + ": " +
                         Explain(error));
    }
    // Where the machine has no compiler for it, patterns are interpreted.
    pcre2_jit_compile(code_.get(), PCRE2_JIT_COMPLETE);
    match_.reset(pcre2_match_data_create_from_pattern(code_.get(), nullptr));
    context_.reset(pcre2_match_context_create(nullptr));
    if (match_ == nullptr || context_ == nullptr) {
        throw std::bad_alloc();
    }
    pcre2_set_heap_limit(context_.get(), kMostMemory >> 10);
}

int Pattern::MatchWith(uint32_t options, std::string_view text, size_t from) const {
    return pcre2_match(code_.get(), reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), from,
                       options, match_.get(), context_.get());
}

int Pattern::Match(std::string_view text, size_t from) const {
    int result = MatchWith(0, text, from);
    if (result == PCRE2_ERROR_JIT_STACKLIMIT && stack_ == nullptr) {
        stack_.reset(pcre2_jit_stack_create(kSmallStack, kMostMemory, nullptr));
        pcre2_jit_stack_assign(context_.get(), nullptr, stack_.get());
        // Where so much cannot be had, interpreting asks for memory bit by bit. It takes several
        // times as much, so there is no use in it once the stack is full.
        result = MatchWith(stack_ == nullptr ? PCRE2_NO_JIT : 0U, text, from);
    }
    return result;
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
    const int result = Match(text, from);
    failure_.clear();
    if (result < 0) {
        // A match that would take forever is none that is known.
        failure_ = result == PCRE2_ERROR_NOMATCH ? "" : Explain(result);
        return {};
    }
    const size_t* const range = pcre2_get_ovector_pointer(match_.get());
    return range[1] < range[0] ? text.substr(range[0], 0)
                               : text.substr(range[0], range[1] - range[0]);
}

}  // namespace NS_LOG_READER
