// Copying the short texts that records consist of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// Not inlined: where the compiler knows a limit of the size, it would use an instruction that takes
// long to start.
__attribute__((noinline)) inline void CopyLongText(char* to, const char* from, size_t size) {
    std::memcpy(to, from, size);
}

// Copies `size` bytes and returns the end of the copy. Texts of up to 32 bytes are copied in two
// overlapping pieces, which takes half the instructions of a call of memcpy; a record has a dozen
// of them. Inlined in any case: the compiler would make a function of it where it is used often.
// Any thread.
__attribute__((always_inline)) inline char* CopyText(char* to, const char* from, size_t size) {
    const auto twoPieces = [=](auto piece) __attribute__((always_inline)) {
        auto last = piece;
        std::memcpy(&piece, from, sizeof piece);
        std::memcpy(&last, from + size - sizeof last, sizeof last);
        std::memcpy(to, &piece, sizeof piece);
        std::memcpy(to + size - sizeof last, &last, sizeof last);
    };
    struct Sixteen {
        uint64_t halves[2];
    };
    if (size > 32) {
        CopyLongText(to, from, size);
    } else if (size >= 16) {
        twoPieces(Sixteen());
    } else if (size >= 8) {
        twoPieces(uint64_t{0});
    } else if (size >= 4) {
        twoPieces(uint32_t{0});
    } else if (size >= 2) {
        twoPieces(uint16_t{0});
    } else if (size == 1) {
        *to = *from;
    }
    return to + size;
}

// Makes `to` a copy of `from`. A string that is used again often has the size already, and is only
// written over: std::string::assign takes twice the instructions.
inline void AssignText(std::string& to, std::string_view from) {
    if (to.size() != from.size()) {
        to.resize(from.size());
    }
    CopyText(to.data(), from.data(), from.size());
}

}  // namespace NS_LOG_SERVICE1
