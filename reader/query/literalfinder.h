// Finds a fixed text in large blocks.
#pragma once

#include <cstddef>
#include <string>

namespace NS_LOG_READER {

// Compares two bytes of the text, those that are rare in log files, with sixteen places at once,
// and the whole text only where both are found.
//
// Thread safety: const operations from any thread.
class LiteralFinder {
  public:
    // `text` is not empty. `ignoreCase` concerns ASCII letters. `telling`: the place of the byte
    // that tells the text from others that stand everywhere, if there is one.
    explicit LiteralFinder(std::string text, bool ignoreCase = false,
                           size_t telling = std::string::npos);

    // The first place of the text in the block; null: it is not there.
    const char* Find(const char* begin, const char* end) const;

    const std::string& Text() const { return text_; }

  private:
    bool Matches(const char* place) const;
    const char* FindSlowly(const char* begin, const char* end) const;

    std::string text_;
    std::string otherCase_;  // `text_` with the case of each letter changed, if case is ignored
    bool ignoreCase_;
    size_t first_ = 0;  // places of the two bytes in the text
    size_t second_ = 0;
};

}  // namespace NS_LOG_READER
