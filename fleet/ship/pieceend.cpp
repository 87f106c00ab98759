#include "ship/pieceend.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "format/framing.h"

namespace NS_LOG_FLEET {
namespace {

constexpr size_t kBlockSize = size_t{1} << 20;

constexpr const char* kLineEnd = "\n";

// What stands at the end of a piece that begins so.
std::string EndOf(std::string_view beginning) {
    std::string_view digits;
    if (NS_LOG_READER::BeginsFrame(beginning) &&
        NS_LOG_READER::OpeningTagLength(beginning, digits) != 0) {
        return "\n</" + std::string(digits) + ">\n\n";
    }
    return kLineEnd;
}

// Behind the first end in the text that a piece follows; npos: there is none, or what follows it is
// not there yet.
size_t FindEnd(const std::string& text, const std::string& end, bool isRest, bool isSettled) {
    for (size_t at = text.find(end); at != std::string::npos; at = text.find(end, at + 1)) {
        const std::string_view next = std::string_view(text).substr(at + end.size());
        const bool isThere = isRest || next.size() >= NS_LOG_READER::kPieceStartSize;
        if (isThere && NS_LOG_READER::BeginsPiece(next, isRest && isSettled)) {
            return at + end.size();
        }
    }
    return std::string::npos;
}

bool BeginsMark(std::string_view text) {
    return text.compare(0, NS_LOG_READER::kFileClosed.size(), NS_LOG_READER::kFileClosed) == 0;
}

// Where a frame without an end may end that begins with the text: behind its own closing tag, or in
// front of the next frame or the line that closes the file; npos: nothing of that is there. What
// begins at `last` or behind it is not looked at yet.
size_t FindTornEnd(const std::string& text, const std::string& end, size_t from, size_t last) {
    const std::string_view rest = text;
    const size_t own = text.find(end, from);
    size_t tag = text.find('<', from);
    size_t line = text.find('\n', from);
    for (size_t at = std::min(tag, line); at < last; at = std::min(tag, line)) {
        if (at == own) {
            return own + end.size();
        }
        if (NS_LOG_READER::BeginsFrame(rest.substr(at)) || BeginsMark(rest.substr(at))) {
            return at;
        }
        (at == tag ? tag : line) = text.find(text[at], at + 1);
    }
    return std::string::npos;
}

}  // namespace

std::optional<uint64_t> FindPieceEnd(NS_LOG_READER::ByteSource& source, uint64_t offset,
                                     bool isSettled, bool isWhole) {
    std::vector<char> block(kBlockSize);
    std::string text;  // begins at `offset`
    std::string end;
    std::optional<uint64_t> tornEnd;
    size_t from = 1;  // where a torn end is looked for: not at the piece's own beginning
    source.Seek(offset);
    for (bool isRest = false; !isRest;) {
        const size_t size = source.Read(block.data(), block.size());
        isRest = size == 0;
        text.append(block.data(), size);
        end = end.empty() ? EndOf(text) : end;
        const size_t found = FindEnd(text, end, isRest, isSettled);
        if (found != std::string::npos) {
            return offset + found;
        }
        // An end may stand there in part, or what follows it.
        const size_t kept =
            std::min(text.size(), isRest ? 0 : end.size() + NS_LOG_READER::kPieceStartSize);
        if (!tornEnd && end != kLineEnd) {
            const size_t torn = FindTornEnd(text, end, from, text.size() - kept);
            tornEnd = torn == std::string::npos ? tornEnd : std::optional<uint64_t>(offset + torn);
            from = text.size() == kept ? from : 0;
        }
        offset += text.size() - kept;
        text.erase(0, text.size() - kept);
    }
    return isWhole ? tornEnd.value_or(offset) : std::optional<uint64_t>();
}

}  // namespace NS_LOG_FLEET
