// The bytes that are about to be written to a file.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

namespace NS_LOG_SERVICE1 {

// A growing buffer whose memory is kept from one write to the next and is not zeroed first.
//
// Thread safety: none; the owner's lock guards it.
class FrameBuffer {
  public:
    // Room for `size` more bytes at the end; valid until the next call. Commit says how far it
    // was filled.
    char* Reserve(size_t size);
    void Commit(const char* end) { size_ = static_cast<size_t>(end - bytes_.get()); }

    size_t Size() const { return size_; }
    std::string_view Bytes() const { return {bytes_.get(), size_}; }

    // Forgets the bytes. Memory beyond what usual batches need is given back.
    void Clear();

  private:
    std::unique_ptr<char[]> bytes_;
    size_t capacity_ = 0;
    size_t size_ = 0;
};

}  // namespace NS_LOG_SERVICE1
