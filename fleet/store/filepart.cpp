#include "store/filepart.h"

namespace NS_LOG_FLEET {

void FilePart::Add(const NS_LOG_READER::Piece& piece) {
    if (slices.empty()) {
        offset = piece.offset;
    }
    bytes.append(piece.bytes);
    slices.push_back({piece.kind, piece.number, static_cast<uint32_t>(piece.bytes.size())});
}

}  // namespace NS_LOG_FLEET
