#include "channel/framebuffer.h"

#include <algorithm>
#include <cstring>

namespace NS_LOG_SERVICE1 {

char* FrameBuffer::Reserve(size_t size) {
    if (capacity_ - size_ < size) {
        const size_t capacity = std::max(size_ + size, 2 * capacity_);
        std::unique_ptr<char[]> grown(new char[capacity]);
        if (size_ != 0) {
            std::memcpy(grown.get(), bytes_.get(), size_);
        }
        bytes_ = std::move(grown);
        capacity_ = capacity;
    }
    return bytes_.get() + size_;
}

void FrameBuffer::Clear(size_t keptCapacity) {
    size_ = 0;
    if (capacity_ > keptCapacity) {
        bytes_.reset();
        capacity_ = 0;
    }
}

}  // namespace NS_LOG_SERVICE1
