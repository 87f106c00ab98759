#include "channel/tornend.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace NS_LOG_SERVICE1 {
namespace {

// The end of the file is looked at in growing parts, until a whole record is found. More than the
// longest record, which an ASN message makes, is not searched.
constexpr uint64_t kFirstLook = uint64_t{64} * 1024;
constexpr uint64_t kLongestLook = uint64_t{16} * 1024 * 1024;

// Returns where the tag ends that begins at `position`: `opening`, digits and `closing`. npos:
// there is none.
size_t TagEnd(std::string_view text, size_t position, std::string_view opening,
              std::string_view closing) {
    if (text.compare(position, opening.size(), opening) != 0) {
        return std::string_view::npos;
    }
    const size_t digits = position + opening.size();
    const size_t end = std::min(text.find_first_not_of("0123456789", digits), text.size());
    return end != digits && text.compare(end, closing.size(), closing) == 0
               ? end + closing.size()
               : std::string_view::npos;
}

// Returns where the last whole frame of `text` ends, or its last line about the file itself. npos:
// there is neither.
size_t LastWholeEnd(std::string_view text) {
    size_t line = text.size();
    while (line != 0) {
        const size_t newline = line < 2 ? std::string_view::npos : text.rfind('\n', line - 2);
        line = newline == std::string_view::npos ? 0 : newline + 1;
        const size_t frameEnd = TagEnd(text, line, "</", ">\n\n");
        if (frameEnd != std::string_view::npos) {
            return frameEnd;
        }
        const std::string_view rest = text.substr(line);
        if (rest.rfind("File create at ", 0) == 0 || rest.rfind("File close at ", 0) == 0) {
            const size_t end = rest.find('\n');
            if (end != std::string_view::npos) {
                return line + end + 1;
            }
        }
    }
    return std::string_view::npos;
}

// Returns where the piece begins whose end is missing; the size of the text when there is none.
// `rest` contains no end of a frame, so a frame that begins in it is torn. All other lines are
// short records, of which the last one may be torn.
size_t TornPieceIn(std::string_view rest) {
    size_t line = 0;
    while (line < rest.size()) {
        if (TagEnd(rest, line, "<", ">\n") != std::string_view::npos) {
            return line;
        }
        const size_t newline = rest.find('\n', line);
        if (newline == std::string_view::npos) {
            return line;
        }
        line = newline + 1;
    }
    return rest.size();
}

}  // namespace

size_t TornEndSize(const FileStream& file) {
    const uint64_t size = file.SizeFound();
    for (uint64_t look = kFirstLook;; look *= 4) {
        const uint64_t begin = size - std::min(look, size);
        std::string text(size - begin, '\0');
        text.resize(file.Read(begin, text.data(), text.size()));
        const size_t whole = LastWholeEnd(text);
        if (whole != std::string_view::npos) {
            const std::string_view rest = std::string_view(text).substr(whole);
            return rest.size() - TornPieceIn(rest);
        }
        if (begin == 0) {
            return text.size() - TornPieceIn(text);
        }
        if (look >= kLongestLook) {
            const size_t newline = text.rfind('\n');
            return newline == std::string::npos ? 0 : text.size() - newline - 1;
        }
    }
}

}  // namespace NS_LOG_SERVICE1
