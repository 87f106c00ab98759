#include "format/framing.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "format/fixedtext.h"
#include "format/stamp.h"

namespace NS_LOG_READER {
namespace {

// Numbers are printed with 32 bits.
constexpr size_t kMostDigits = 10;

// Whether the whole text could be the beginning of `wanted`, where '0' stands for any digit.
bool CouldBecome(std::string_view text, std::string_view wanted) {
    if (text.size() >= wanted.size()) {
        return false;
    }
    return std::equal(text.begin(), text.end(), wanted.begin(), [](char found, char pattern) {
        return pattern == '0' ? IsDigit(found)
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
    while (at < rest.size() && at <= kMostDigits && IsDigit(rest[at])) {
        ++at;
    }
    rest.remove_prefix(at);
    return rest.empty() || rest == ">" || rest == ">\n" ||
           (at > 1 && StartsWith(rest, ">\n") && CouldBecome(rest.substr(2), kStampShape));
}

// The number of "\n</N>\n\n", which ends before `end`. False: there is none.
bool EndsFrame(std::string_view text, size_t end, uint32_t& number) {
    if (end < 8 || !StartsWith(text.substr(end - 3), ">\n\n")) {
        return false;
    }
    size_t digits = end - 3;
    while (digits > 0 && IsDigit(text[digits - 1])) {
        --digits;
    }
    const auto result = std::from_chars(text.data() + digits, text.data() + end - 3, number);
    return result.ec == std::errc() && digits >= 3 && StartsWith(text.substr(digits - 3), "\n</");
}

}  // namespace

size_t OpeningTagLength(std::string_view text, std::string_view& digits) {
    if (text.size() < 4 || text[0] != '<') {
        return 0;
    }
    size_t at = 1;
    while (at < text.size() && at <= kMostDigits && IsDigit(text[at])) {
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

bool IsFrameBoundary(std::string_view text, size_t at) {
    uint32_t before = 0;
    std::string_view digits;
    if (!EndsFrame(text, at, before) || !BeginsFrame(text.substr(at)) ||
        OpeningTagLength(text.substr(at), digits) == 0) {
        return false;
    }
    uint32_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number == before + 1;
}

size_t FindLastFrameBoundary(std::string_view text, size_t begin, size_t end) {
    while (end > begin) {
        const void* const tag = memrchr(text.data() + begin, '<', end - begin);
        if (tag == nullptr) {
            break;
        }
        end = static_cast<size_t>(static_cast<const char*>(tag) - text.data());
        if (end > begin && text[end - 1] == '\n' && IsFrameBoundary(text, end)) {
            return end;
        }
    }
    return std::string_view::npos;
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
