// An open file of the system.
#pragma once

#include <unistd.h>

#include <utility>

namespace NS_LOG_READER {

// Closes what it owns. A negative number owns nothing.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int number) : number_(number) {}
    ~FileDescriptor() { Close(); }

    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    int Get() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }

    void Close() {
        if (IsOpen()) {
            ::close(std::exchange(number_, -1));
        }
    }

  private:
    int number_ = -1;
};

}  // namespace NS_LOG_READER
