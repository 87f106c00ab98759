#include "input/boundary.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "format/framing.h"

namespace NS_LOG_READER {
namespace {

constexpr size_t kChunk = size_t{64} * 1024;
constexpr size_t kOverlap = 2 * kPieceStartSize;

size_t ReadWhole(ByteSource& source, uint64_t offset, std::vector<char>& chunk) {
    source.Seek(offset);
    size_t size = 0;
    while (size < chunk.size()) {
        const size_t read = source.Read(chunk.data() + size, chunk.size() - size);
        if (read == 0) {
            break;
        }
        size += read;
    }
    return size;
}

// The time of the frame that begins at `at`. False: none surely does.
bool ReadBoundary(std::string_view text, size_t at, Time& time) {
    std::string_view digits;
    return IsFrameBoundary(text, at) &&
           ParseStamp(text.substr(at + OpeningTagLength(text.substr(at), digits)), time) != 0;
}

}  // namespace

std::optional<Boundary> FindBoundary(ByteSource& source, uint64_t from, uint64_t end) {
    std::vector<char> chunk(kChunk);
    // The end of the frame before has to be seen.
    uint64_t offset = from > kOverlap ? from - kOverlap : 0;
    while (offset < end) {
        const size_t size = ReadWhole(source, offset, chunk);
        const std::string_view text(chunk.data(), size);
        for (size_t at = text.find("\n\n<"); at != std::string_view::npos;
             at = text.find("\n\n<", at + 1)) {
            Boundary found{offset + at + 2, 0};
            if (found.offset >= end) {
                return std::nullopt;
            }
            if (found.offset >= from && ReadBoundary(text, at + 2, found.time)) {
                return found;
            }
        }
        if (size <= kOverlap) {
            break;
        }
        offset += size - kOverlap;
        if (size < chunk.size()) {
            break;
        }
    }
    return std::nullopt;
}

uint64_t FindTime(ByteSource& source, Time time) {
    uint64_t low = 0;  // everything before it is older
    uint64_t high = source.Size();
    while (high - low > kChunk) {
        const uint64_t middle = low + (high - low) / 2;
        const std::optional<Boundary> found = FindBoundary(source, middle, high);
        if (found && found->time < time) {
            low = found->offset;
        } else {
            high = middle;
        }
    }
    return low;
}

FileRange FindRange(ByteSource& source, std::optional<Time> since, std::optional<Time> until) {
    FileRange range{0, source.Size()};
    if (since) {
        range.begin = FindTime(source, *since - kDisorder);
    }
    if (until) {
        const uint64_t last = FindTime(source, *until + kDisorder) + kChunk;
        const std::optional<Boundary> next = FindBoundary(source, last, range.end);
        range.end = next ? next->offset : range.end;
    }
    return range;
}

}  // namespace NS_LOG_READER
