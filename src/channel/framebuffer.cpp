#include "channel/framebuffer.h"

#include <algorithm>
#include <cstring>

namespace NS_LOG_SERVICE1 {

void FrameBuffer::Grow(size_t size) {
    const size_t capacity = std::max(size_ + size, 2 * capacity_);
    std::unique_ptr<char[]> grown(new char[capacity]);
    if (size_ != 0) {
        std::memcpy(grown.get(), bytes_.get(), size_);
    }
    bytes_ = std::move(grown);
    capacity_ = capacity;
}

}  // namespace NS_LOG_SERVICE1
