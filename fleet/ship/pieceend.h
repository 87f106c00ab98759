// Where a piece ends that is too large to be held.
#pragma once

#include <cstdint>
#include <optional>

#include "input/bytesource.h"

namespace NS_LOG_FLEET {

// Where the piece ends that begins at `offset`; nothing when the end is not there. Reads block by
// block and needs the memory of one, however large the piece is. `isSettled`: the source ends where
// a piece does. `isWhole`: nothing comes behind what is there, so that a frame without an end ends
// where the next one begins, and any other piece with the source. Throws ReadError.
std::optional<uint64_t> FindPieceEnd(NS_LOG_READER::ByteSource& source, uint64_t offset,
                                     bool isSettled, bool isWhole);

}  // namespace NS_LOG_FLEET
