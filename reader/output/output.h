// Where results go.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace NS_LOG_READER {

// Whoever reads the output has gone: nothing more is wanted.
class OutputClosed : public std::runtime_error {
  public:
    OutputClosed() : std::runtime_error("the output was closed") {}
};

// A buffered file descriptor, which it does not own. Throws OutputClosed, and std::system_error for
// other failures.
//
// Thread safety: none.
class Output {
  public:
    explicit Output(int descriptor);
    // What was not flushed is lost.
    ~Output() = default;

    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Put(char character) {
        Room(1);
        buffer_[size_++] = character;
    }

    void Put(std::string_view text);
    void PutNumber(int64_t number);

    // `size` bytes to be written to directly, until the next call; Commit tells how many were.
    char* Room(size_t size);
    void Commit(const char* end) { size_ = static_cast<size_t>(end - buffer_.get()); }

    void Flush();

  private:
    int descriptor_;
    std::unique_ptr<char[]> buffer_;
    size_t capacity_;
    size_t size_ = 0;
};

}  // namespace NS_LOG_READER
