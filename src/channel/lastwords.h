// What writing out a queue needs when the process dies.
#pragma once

#include <cstddef>

#include "channel/framebuffer.h"
#include "channel/framestamps.h"

namespace NS_LOG_SERVICE1 {

// The memory is allocated in advance: the process may die because the heap is broken, or while one
// of its threads holds the heap's lock.
//
// Thread safety: none; one thread writes before the process dies.
class LastWords {
  public:
    // The longest piece that is written at once, and so the longest record that can be.
    static constexpr size_t kPieceSize = size_t{1} << 20;

    // Allocates the memory. The pages of the buffer are not touched before they are needed.
    LastWords() { frames.Reserve(kPieceSize); }

    FrameBuffer frames;
    FrameStamps stamps{256};
};

}  // namespace NS_LOG_SERVICE1
