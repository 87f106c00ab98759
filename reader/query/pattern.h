// A regular expression that records are searched for.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "input/literalfinder.h"

struct pcre2_real_code_8;
struct pcre2_real_jit_stack_8;
struct pcre2_real_match_context_8;
struct pcre2_real_match_data_8;

namespace NS_LOG_READER {

// A Perl-compatible expression; "^" and "$" match at every line of a record. A pattern without a
// capital letter ignores case.
//
// Thread safety: one thread.
class Pattern {
  public:
    // `isFixed`: the text itself is looked for. Throws BadRequest.
    Pattern(const std::string& text, bool isFixed);
    bool Matches(std::string_view text) const { return Find(text, 0).data() != nullptr; }

    // The first match from `from` on; a null view: there is none, as far as is known.
    std::string_view Find(std::string_view text, size_t from) const;

    // Why the last search was given up; empty: it came to its end.
    const std::string& Failure() const { return failure_; }

    // A text that stands in everything that matches; empty: none is known.
    const std::string& Literal() const { return literal_; }
    bool IgnoresCase() const { return ignoresCase_; }

  private:
    // Gives back what the library of expressions has made.
    struct Free {
        void operator()(pcre2_real_code_8* code) const;
        void operator()(pcre2_real_match_data_8* match) const;
        void operator()(pcre2_real_match_context_8* context) const;
        void operator()(pcre2_real_jit_stack_8* stack) const;
    };

    void Compile(const std::string& text);
    int Match(std::string_view text, size_t from) const;
    int MatchWith(uint32_t options, std::string_view text, size_t from) const;

    bool ignoresCase_;
    std::string literal_;
    std::unique_ptr<LiteralFinder> finder_;  // for a pattern that is a literal
    std::unique_ptr<pcre2_real_code_8, Free> code_;
    std::unique_ptr<pcre2_real_match_data_8, Free> match_;
    std::unique_ptr<pcre2_real_match_context_8, Free> context_;
    mutable std::unique_ptr<pcre2_real_jit_stack_8, Free> stack_;  // made when it is wanted
    mutable std::string failure_;
};

// The longest text that stands in everything that the expression matches; empty: none is known.
// `ignoresCase`: of ASCII letters only.
std::string RequiredLiteral(std::string_view expression, bool ignoresCase);

}  // namespace NS_LOG_READER
