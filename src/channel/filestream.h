// A file that is written without a buffer.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace NS_LOG_SERVICE1 {

// The result of a write. `written` is the number of bytes that reached the kernel: all of them,
// unless there is an error.
struct WriteResult {
    size_t written = 0;
    std::error_code error;
};

// What Write reports as written has reached the kernel. The standard library's streams do not serve
// here: after a failed write they do not say how much of a record reached the file, and they stay
// in the failed state.
//
// Thread safety: none; the owner's lock guards it.
class FileStream {
  public:
    FileStream() = default;
    ~FileStream() { Close(); }

    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    // Opens `path` for writing and empties it, or creates it under the process's creation mask.
    // Closes the file that was open, also when this fails.
    std::error_code Create(const std::string& path);

    bool IsOpen() const { return descriptor_ >= 0; }

    // Appends `bytes` to the file. After a failure, CutBack can remove what was written.
    WriteResult Write(std::string_view bytes);

    // Removes the last `size` bytes of the file.
    void CutBack(size_t size);

    // Whether `path` names the open file.
    bool IsSameFile(const std::string& path) const;

    void Close();

  private:
    int descriptor_ = -1;
};

}  // namespace NS_LOG_SERVICE1
