// A regular expression that records are searched for.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "query/literalfinder.h"

struct pcre2_real_code_8;
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
    ~Pattern();

    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool Matches(std::string_view text) const { return Find(text, 0).data() != nullptr; }

    // The first match from `from` on; a null view: there is none.
    std::string_view Find(std::string_view text, size_t from) const;

    // A text that stands in everything that matches; empty: none is known.
    const std::string& Literal() const { return literal_; }
    bool IgnoresCase() const { return ignoresCase_; }

  private:
    void Compile(const std::string& text);

    bool ignoresCase_;
    std::string literal_;
    std::unique_ptr<LiteralFinder> finder_;  // for a pattern that is a literal
    pcre2_real_code_8* code_ = nullptr;
    pcre2_real_match_data_8* match_ = nullptr;
};

// The longest text that stands in everything that the expression matches; empty: none is known.
// `ignoresCase`: of ASCII letters only.
std::string RequiredLiteral(std::string_view expression, bool ignoresCase);

}  // namespace NS_LOG_READER
