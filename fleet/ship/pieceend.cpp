#include "ship/pieceend.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "format/framing.h"

namespace NS_LOG_FLEET {
namespace {

constexpr size_t kBlockSize = size_t{1} << 20;

// What stands at the end of a piece that begins so.
std::string EndOf(std::string_view beginning) {
    std::string_view digits;
    if (NS_LOG_READER::BeginsFrame(beginning) &&
        NS_LOG_READER::OpeningTagLength(beginning, digits) != 0) {
        return "\n</" + std::string(digits) + ">\n\n";
    }
    return "\n";
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

}  // namespace

std::optional<uint64_t> FindPieceEnd(NS_LOG_READER::ByteSource& source, uint64_t offset,
                                     bool isSettled, bool isWhole) {
    std::vector<char> block(kBlockSize);
    std::string text;  // begins at `offset`
    std::string end;
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
        offset += text.size() - kept;
        text.erase(0, text.size() - kept);
    }
    return isWhole ? std::optional<uint64_t>(offset) : std::nullopt;
}

}  // namespace NS_LOG_FLEET
