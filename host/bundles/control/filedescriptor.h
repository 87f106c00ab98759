// A file descriptor with an owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace NS_REFERENCE_HOST {

// Thread safety: that of an int.
class FileDescriptor {
  public:
    explicit FileDescriptor(int descriptor = -1) noexcept : descriptor_(descriptor) {}
    ~FileDescriptor() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }

    FileDescriptor(FileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }

    int Get() const noexcept { return descriptor_; }
    bool IsOpen() const noexcept { return descriptor_ >= 0; }

  private:
    int descriptor_;
};

}  // namespace NS_REFERENCE_HOST
