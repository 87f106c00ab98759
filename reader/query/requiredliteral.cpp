// What every match of an expression holds. Errs on the side of knowing nothing.
#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

#include "format/fixedtext.h"
#include "query/pattern.h"

namespace NS_LOG_READER {
namespace {

// Collects runs of literal characters outside of groups and classes.
class Runs {
  public:
    explicit Runs(bool ignoresCase) : ignoresCase_(ignoresCase) {}

    void Add(char character) {
        // Beyond ASCII, ignoring case needs tables that the finder does not have.
        if (ignoresCase_ && static_cast<signed char>(character) < 0) {
            End();
            return;
        }
        run_ += character;
    }

    // The last character may be missing, or come several times. Beyond ASCII it has several bytes.
    void DropLast() {
        while (!run_.empty() && (run_.back() & 0xC0) == 0x80) {
            run_.pop_back();
        }
        if (!run_.empty()) {
            run_.pop_back();
        }
        End();
    }

    void End() {
        longest_ = run_.size() > longest_.size() ? run_ : longest_;
        run_.clear();
    }

    const std::string& Longest() const { return longest_; }

  private:
    bool ignoresCase_;
    std::string run_;
    std::string longest_;
};

bool IsWordCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           IsDigit(character) || character == '_';
}

// The end of the named class at `at`, such as "[:digit:]"; `at` itself where there is none. An
// expression with a name that is none is refused as a whole.
size_t EndOfNamedClass(std::string_view text, size_t at) {
    const size_t end = text.find(']', at);
    const bool isNamed = text.substr(at, 2) == "[:" && end != std::string_view::npos &&
                         end > at + 2 && text[end - 1] == ':';
    return isNamed ? end : at;
}

size_t EndOfClass(std::string_view text, size_t at) {
    at += at + 1 < text.size() && text[at + 1] == '^' ? 2U : 1U;
    at += at < text.size() && text[at] == ']' ? 1U : 0U;
    while (at < text.size() && text[at] != ']') {
        at = EndOfNamedClass(text, at) + (text[at] == '\\' ? 2U : 1U);
    }
    return at;
}

// The end of the numbers of times at `at`, such as "{2,3}"; `at` itself where the brace is none.
size_t EndOfTimes(std::string_view text, size_t at) {
    const size_t end = text.find_first_not_of("0123456789, ", at + 1);
    return end != std::string_view::npos && text[end] == '}' ? end : at;
}

// Alternatives, quoting, characters named by another and embedded options change what the rest
// means; beyond ASCII, ignoring case lets other letters stand for k and s.
bool IsUnderstood(std::string_view text, bool ignoresCase) {
    const bool isAscii = std::all_of(text.begin(), text.end(), [](char character) {
        return static_cast<signed char>(character) >= 0;
    });
    const std::string_view foreign[] = {"|", "(?", "(*", "\\Q", "\\E", "\\c"};
    return (!ignoresCase || isAscii) &&
           std::all_of(std::begin(foreign), std::end(foreign), [text](std::string_view part) {
               return text.find(part) == std::string_view::npos;
           });
}

}  // namespace

std::string RequiredLiteral(std::string_view text, bool ignoresCase) {
    if (!IsUnderstood(text, ignoresCase)) {
        return {};
    }
    Runs runs(ignoresCase);
    int depth = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (character == '\\' && at + 1 < text.size()) {
            ++at;
            if (IsWordCharacter(text[at])) {
                runs.End();
                if (std::string_view("sSdDwWbB").find(text[at]) == std::string_view::npos) {
                    // A reference, or a character by its number, whose digits follow.
                    return runs.Longest();
                }
            } else if (depth == 0) {
                runs.Add(text[at]);
            }
        } else if (character == '[') {
            at = EndOfClass(text, at);
            runs.End();
        } else if (character == '(' || character == ')') {
            depth += character == '(' ? 1 : -1;
            runs.End();
        } else if (character == '?' || character == '*' || character == '{') {
            runs.DropLast();
            at = character == '{' ? EndOfTimes(text, at) : at;
        } else if (std::string_view("+.^$").find(character) != std::string_view::npos) {
            runs.End();
        } else if (depth == 0) {
            runs.Add(character);
        }
    }
    runs.End();
    return runs.Longest();
}

}  // namespace NS_LOG_READER
