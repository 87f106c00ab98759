#include "input/boundary.h"

#include <algorithm>
#include <charconv>
#include <cstring>
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

// The number of "\n</N>\n\n", which ends before `end`. False: there is none.
bool EndsFrame(std::string_view text, size_t end, uint32_t& number) {
    if (end < 8 || text.compare(end - 3, 3, ">\n\n") != 0) {
        return false;
    }
    size_t digits = end - 3;
    while (digits > 0 && text[digits - 1] >= '0' && text[digits - 1] <= '9') {
        --digits;
    }
    const auto result = std::from_chars(text.data() + digits, text.data() + end - 3, number);
    return result.ec == std::errc() && digits >= 3 && text.compare(digits - 3, 3, "\n</") == 0;
}

// Whether a frame begins at `at`, behind the end of the one before.
bool IsBoundary(std::string_view text, size_t at, Time& time) {
    uint32_t before = 0;
    if (!BeginsFrame(text.substr(at)) || !EndsFrame(text, at, before)) {
        return false;
    }
    std::string_view digits;
    const size_t tag = OpeningTagLength(text.substr(at), digits);
    uint32_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number == before + 1 && ParseStamp(text.substr(at + tag), time) != 0;
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
            if (found.offset >= from && IsBoundary(text, at + 2, found.time)) {
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
        if (!found) {
            high = middle;
        } else if (found->time < time) {
            low = found->offset;
        } else {
            high = middle;
        }
    }
    return low;
}

}  // namespace NS_LOG_READER
