// Finds a fixed text in large blocks.
#pragma once

#include <cstddef>
#include <string>

namespace NS_LOG_READER {

// Compares two bytes of the text, those that are rare in log files, with 64 places at once, and
// the whole text only where both are found.
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

    // Does without AVX2, as on processors that have none.
    void AvoidAvx2() { usesAvx2_ = false; }

  private:
    bool Matches(const char* place) const;
    const char* FindSlowly(const char* begin, const char* end) const;
    // Look through whole blocks only, and move `begin` to what is left.
    template <class Pairs>
    const char* FindInBlocks(const char*& begin, const char* end) const;
    const char* FindWithAvx2(const char*& begin, const char* end) const;
    const char* FindWithSse2(const char*& begin, const char* end) const;
    static bool HasAvx2();

    std::string text_;
    std::string otherCase_;  // `text_` with the case of each letter changed, if case is ignored
    bool ignoreCase_;
    bool usesAvx2_;
    size_t first_ = 0;  // places of the two bytes in the text
    size_t second_ = 0;
};

}  // namespace NS_LOG_READER
