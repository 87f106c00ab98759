// Texts of records as the columns of the store hold them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace NS_LOG_FLEET {

// Indices refuse rows of more than some 2,700 bytes.
constexpr size_t kLongestColumnText = 1000;

// Appends the text as a column has it: bytes that are no UTF-8 as U+FFFD, a zero byte as U+2400,
// not more than kLongestColumnText bytes, cut where a character ends. Who looks for a value in a
// column looks for what this makes of it, and then compares the row's bytes.
void AppendColumnText(std::string_view text, std::string& out);

std::string ColumnText(std::string_view text);

}  // namespace NS_LOG_FLEET
