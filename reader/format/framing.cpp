#include "format/framing.h"

#include <algorithm>

#include "format/stamp.h"

namespace NS_LOG_READER {
namespace {

// Numbers are printed with 32 bits.
constexpr size_t kMostDigits = 10;

bool StartsWith(std::string_view text, std::string_view beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

// Whether the whole text could be the beginning of `wanted`, where '0' stands for any digit.
bool CouldBecome(std::string_view text, std::string_view wanted) {
    if (text.size() >= wanted.size()) {
        return false;
    }
    return std::equal(text.begin(), text.end(), wanted.begin(), [](char found, char pattern) {
        return pattern == '0' ? found >= '0' && found <= '9'
                              : found == pattern || (pattern == '+' && found == '-');
    });
}

constexpr std::string_view kStampShape = "0000-00-00T00:00:00.000000+00:00,";

// Whether a piece whose end is missing could look so.
bool IsCutPiece(std::string_view rest) {
    if (CouldBecome(rest, kStampShape) || CouldBecome(rest, kFileClosed) ||
        CouldBecome(rest, kFileCreated)) {
        return true;
    }
    if (rest.front() != '<') {
        return false;
    }
    size_t at = 1;
    while (at < rest.size() && at <= kMostDigits && rest[at] >= '0' && rest[at] <= '9') {
        ++at;
    }
    rest.remove_prefix(at);
    return rest.empty() || rest == ">" || rest == ">\n" ||
           (at > 1 && StartsWith(rest, ">\n") && CouldBecome(rest.substr(2), kStampShape));
}

}  // namespace

size_t OpeningTagLength(std::string_view text, std::string_view& digits) {
    if (text.size() < 4 || text[0] != '<') {
        return 0;
    }
    size_t at = 1;
    while (at < text.size() && at <= kMostDigits && text[at] >= '0' && text[at] <= '9') {
        ++at;
    }
    if (at == 1 || at + 1 >= text.size() || text[at] != '>' || text[at + 1] != '\n') {
        return 0;
    }
    digits = text.substr(1, at - 1);
    return at + 2;
}

bool BeginsFrame(std::string_view text) {
    std::string_view digits;
    const size_t tag = OpeningTagLength(text, digits);
    if (tag == 0) {
        return false;
    }
    text.remove_prefix(tag);
    const size_t stamp = StampLength(text);
    return stamp != 0 && StartsWith(text.substr(stamp), ", ");
}

bool BeginsPiece(std::string_view text, bool isRest) {
    if (text.empty()) {
        return isRest;
    }
    bool begins = false;
    switch (text[0]) {
        case '<':
            begins = BeginsFrame(text);
            break;
        case '\n':
            begins = StartsWith(text, kFileClosed);
            break;
        case 'F':
            begins = StartsWith(text, kFileCreated);
            break;
        case '\0':  // a machine that died has left zeros where the file had grown already
            return true;
        default: {
            const size_t stamp = StampLength(text);
            begins = stamp != 0 && stamp < text.size() && text[stamp] == ',';
        }
    }
    return begins || (isRest && IsCutPiece(text));
}

}  // namespace NS_LOG_READER
