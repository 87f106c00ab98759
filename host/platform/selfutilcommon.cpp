// The utility library's functions on texts, paths and the environment.
#include "util/selfutilcommon.h"

#include <cstdlib>

namespace NS_UTIL {

namespace {

constexpr size_t kSkipEmptyPieces = 0;  // the position of the flag

bool IsSeparator(char character) {
    return character == '/' || character == '\\';
}

}  // namespace

std::string SelfUtilCommon::getEnvValue(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? std::string() : std::string(value);
}

void PathFormat(std::string& path) {
    size_t length = 0;
    for (const char character : path) {
        if (!IsSeparator(character)) {
            path[length++] = character;
        } else if (length == 0 || path[length - 1] != '/') {
            path[length++] = '/';
        }
    }
    if (length > 1 && path[length - 1] == '/') {
        --length;
    }
    path.resize(length);
}

std::string Trim(const std::string& text) {
    static const char* const kBlanks = " \t\r\n";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) {
        return std::string();
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool SplitStringByTag(const std::string& source, std::vector<std::string>& parts, char separator,
                      const std::bitset<16>& flags) {
    // Collected aside, because `source` may be one of `parts`.
    std::vector<std::string> pieces;
    const bool hasText = !source.empty();
    for (size_t begin = 0; hasText && begin <= source.size();) {
        const size_t found = source.find(separator, begin);
        const size_t end = found == std::string::npos ? source.size() : found;
        if (end > begin || !flags.test(kSkipEmptyPieces)) {
            pieces.push_back(source.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    parts.swap(pieces);
    return hasText;
}

}  // namespace NS_UTIL
