// Numbers and lines that have to fit.
#include "agentctl/shorttext.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <sstream>

#include "agentctl/terminaltext.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr uint64_t kLargestPlain = 99999;

void ForEachLine(const std::string& text, const std::function<void(const std::string&)>& visit) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        visit(line);
    }
}

// The first characters of a valid text.
std::string FirstCharacters(const std::string& text, std::size_t count) {
    std::size_t end = 0;
    for (std::size_t characters = 0; end < text.size(); ++end) {
        const bool isStart = (static_cast<unsigned char>(text[end]) & 0xC0U) != 0x80;
        if (isStart && characters++ == count) {
            break;
        }
    }
    return text.substr(0, end);
}

}  // namespace

std::string ShortNumber(uint64_t number) {
    if (number <= kLargestPlain) {
        return std::to_string(number);
    }
    // Three digits of the number: `unit` is what one of its thousands is called.
    std::size_t unit = 0;
    uint64_t thousandths = number;  // of the unit
    while (thousandths >= 1000000) {
        thousandths /= 1000;
        ++unit;
    }
    const std::string whole = std::to_string(thousandths / 1000);
    std::string digits = std::to_string(thousandths % 1000);
    digits.insert(0, 3 - digits.size(), '0');
    const std::string shown =
        whole.size() >= 3 ? whole : whole + "." + digits.substr(0, 3 - whole.size());
    return shown + std::string("kMGTPE").substr(unit, 1);
}

std::string ShortRate(double number) {
    if (number >= 10) {
        return ShortNumber(static_cast<uint64_t>(number));
    }
    char text[16];
    std::snprintf(text, sizeof(text), "%.1f", number);
    return text;
}

std::size_t LongestLine(const std::string& text) {
    std::size_t longest = 0;
    ForEachLine(text, [&longest](const std::string& line) {
        longest = std::max(longest, CountCharacters(line));
    });
    return longest;
}

std::string CutLines(const std::string& text, std::size_t columns) {
    std::string cut;
    ForEachLine(text, [&cut, columns](const std::string& line) {
        cut += CountCharacters(line) <= columns ? line : FirstCharacters(line, columns - 3) + "...";
        cut += '\n';
    });
    return cut;
}

}  // namespace NS_REFERENCE_HOST
