#include "store/filepart.h"

namespace NS_LOG_FLEET {

std::string_view FirstLine(std::string_view beginning) {
    const std::string_view line = beginning.substr(0, beginning.find('\n') + 1);
    return (line.empty() ? beginning : line).substr(0, kLongestFirst);
}

void FilePart::Add(const NS_LOG_READER::Piece& piece) {
    if (slices.empty()) {
        offset = piece.offset;
    }
    bytes.append(piece.bytes);
    slices.push_back({piece.kind, piece.number, static_cast<uint32_t>(piece.bytes.size())});
}

}  // namespace NS_LOG_FLEET
