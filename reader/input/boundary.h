// Finding pieces from the middle of a file.
#pragma once

#include <cstdint>
#include <optional>

#include "format/stamp.h"
#include "input/bytesource.h"

namespace NS_LOG_READER {

// Where a piece begins, and when it was logged.
struct Boundary {
    uint64_t offset = 0;
    Time time = 0;
};

// The first piece that surely begins at `from` or later. It follows the end of a frame and a blank
// line, and is the frame with the next higher number, or a mark. Only a detail that quotes two
// whole frames in a row can be taken for it. No value: none begins before `end`.
std::optional<Boundary> FindBoundary(ByteSource& source, uint64_t from, uint64_t end);

// Where to begin reading so that nothing logged at `time` or later is missed, in a file that is
// sorted by time. Reads a few blocks, whatever the file's size.
uint64_t FindTime(ByteSource& source, Time time);

// The part of a plain file, sorted by time, that holds all records of a range of time. Both ends
// are the beginning of a piece, or the file's.
struct FileRange {
    uint64_t begin = 0;
    uint64_t end = 0;
};
FileRange FindRange(ByteSource& source, std::optional<Time> since, std::optional<Time> until);

// How far records may overtake each other when they are queued.
constexpr Time kDisorder = 60 * kMicrosPerSecond;

}  // namespace NS_LOG_READER
