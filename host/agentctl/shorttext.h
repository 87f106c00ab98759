// Numbers and lines that have to fit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace NS_REFERENCE_HOST {

// Returns the number in at most five characters: as it is up to 99999, then as 123k, 1.23M, 12.3G
// and so on, rounded down.
std::string ShortNumber(uint64_t number);

// The same for a number that is not negative; one below ten has one decimal.
std::string ShortRate(double number);

// The number of characters in the longest of the lines.
std::size_t LongestLine(const std::string& text);

// Shortens each line to at most `columns` characters; "..." stands for its end then. REQUIRES: the
// text is valid UTF-8 and free of control characters but newlines; at least three columns.
std::string CutLines(const std::string& text, std::size_t columns);

}  // namespace NS_REFERENCE_HOST
