// Consecutive pieces of one log file, on their way.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "format/record.h"

namespace NS_LOG_FLEET {

// Which contents of which name: see qv.file.
struct FileIdentity {
    std::string host;
    std::string name;   // without the directory
    std::string first;  // the first line, at most 256 bytes
};

// So much of a file's beginning is enough to know its identity.
constexpr size_t kLongestFirst = 256;

// What comes through a stream is put together in the memory of a collector and of the store: a
// piece that is larger is not taken from one.
constexpr uint32_t kLargestPiece = uint32_t{64} * 1024 * 1024;

// `first` of a file that begins so. When the end of the line is missing, that is all there is.
std::string_view FirstLine(std::string_view beginning);

// A value.
struct FilePart {
    struct Slice {
        NS_LOG_READER::PieceKind kind = NS_LOG_READER::PieceKind::Garbage;
        uint32_t number = 0;
        uint32_t length = 0;
    };

    uint64_t offset = 0;  // where it begins in the file
    std::string bytes;
    std::vector<Slice> slices;  // their lengths add up to that of `bytes`

    void Add(const NS_LOG_READER::Piece& piece);

    uint64_t End() const { return offset + bytes.size(); }

    // Whether the file is done with it.
    bool IsClosing() const {
        return !slices.empty() && slices.back().kind == NS_LOG_READER::PieceKind::Closed;
    }

    // Calls `take` with each piece, whose bytes live as long as the part.
    template <class Take>
    void ForEach(Take take) const {
        NS_LOG_READER::Piece piece;
        size_t at = 0;
        for (const Slice& slice : slices) {
            piece.kind = slice.kind;
            piece.number = slice.number;
            piece.offset = offset + at;
            piece.bytes = std::string_view(bytes).substr(at, slice.length);
            at += slice.length;
            take(piece);
        }
    }
};

}  // namespace NS_LOG_FLEET
