// A file that is read as it is.
#pragma once

#include <sys/stat.h>

#include <string>

#include "input/bytesource.h"
#include "input/filedescriptor.h"

namespace NS_LOG_READER {

// Throws ReadError when something stands there that is no file: a pipe has no size and is read
// once, and opening one may wait for ever.
void RefusePipe(const std::string& path);

class PlainFile final : public ByteSource {
  public:
    // Throws ReadError.
    explicit PlainFile(const std::string& path);

    // Takes over an open file.
    PlainFile(FileDescriptor descriptor, std::string path);

    size_t Read(char* bytes, size_t size) override;
    void Seek(uint64_t offset) override { offset_ = offset; }
    uint64_t Size() const override;
    bool IsPlain() const override { return true; }

    // Throws ReadError.
    struct stat Status() const;

  private:
    std::string path_;
    FileDescriptor descriptor_;
    uint64_t offset_ = 0;
};

}  // namespace NS_LOG_READER
