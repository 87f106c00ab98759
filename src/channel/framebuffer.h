// The bytes of the next write to a file.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "base/copytext.h"

namespace NS_LOG_SERVICE1 {

// A growing buffer. It reuses its memory from one write to the next and does not zero it.
//
// Thread safety: none; the owner's lock guards it.
class FrameBuffer {
  public:
    // Returns room for `size` more bytes at the end, valid until the next call. Commit sets the end
    // of what was filled.
    char* Reserve(size_t size) {
        if (!HasRoomFor(size)) {
            Grow(size);
        }
        return bytes_.get() + size_;
    }
    void Commit(const char* end) { size_ = static_cast<size_t>(end - bytes_.get()); }

    // Appends a copy of `bytes`.
    void Append(std::string_view bytes) {
        Commit(CopyText(Reserve(bytes.size()), bytes.data(), bytes.size()));
    }

    // Whether Reserve(size) needs no memory.
    bool HasRoomFor(size_t size) const { return capacity_ - size_ >= size; }

    size_t Size() const { return size_; }
    size_t Capacity() const { return capacity_; }
    std::string_view Bytes() const { return {bytes_.get(), size_}; }

    // Removes all bytes after the first `size`. Keeps the memory.
    void CutTo(size_t size) { size_ = size; }

    // Enough for the frames of one write, however the buffer has grown.
    static constexpr size_t kBatchCapacity = size_t{2} * 1024 * 1024;

    // Removes all bytes. Frees the memory when there is more of it than `keptCapacity`.
    void Clear(size_t keptCapacity = kBatchCapacity) {
        size_ = 0;
        if (capacity_ > keptCapacity) {
            bytes_.reset();
            capacity_ = 0;
        }
    }

  private:
    void Grow(size_t size);

    std::unique_ptr<char[]> bytes_;
    size_t capacity_ = 0;
    size_t size_ = 0;
};

}  // namespace NS_LOG_SERVICE1
