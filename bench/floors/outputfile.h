// A file that records are appended to.
#pragma once

#include <cstdint>
#include <string>

namespace NS_BENCH {

// Thread safety: one thread at a time.
class OutputFile {
  public:
    // Throws std::system_error.
    explicit OutputFile(const std::string& path);
    ~OutputFile();

    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // One system call. Throws std::system_error for anything that is not written.
    void Write(const char* bytes, size_t size);

    uint64_t Size() const { return size_; }

    // Goes on in another file, which is emptied.
    void Rotate(const std::string& path);

  private:
    void Open(const std::string& path);

    int descriptor_ = -1;
    uint64_t size_ = 0;
};

}  // namespace NS_BENCH
