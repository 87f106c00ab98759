// An open file that is written in whole pieces.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

namespace NS_LOG_SERVICE1 {

// How far a write came: `written` is the number of bytes that reached the kernel. Without an error
// it is all of them.
struct WriteResult {
    size_t written = 0;
    std::error_code error;
};

// Unbuffered: what Write reports as written has reached the kernel. The standard library's streams
// are not used, because after a failed write they neither say how much of a record reached the
// file nor forget the failure.
//
// Thread safety: none; the owner's lock guards it.
class FileStream {
  public:
    FileStream() = default;
    ~FileStream() { Close(); }

    FileStream(const FileStream&) = delete;
    FileStream& operator=(const FileStream&) = delete;

    // Opens `path` for writing, empty, and creates it if need be; the process's creation mask
    // applies. Closes what was open, also when that fails.
    std::error_code Create(const std::string& path);

    bool IsOpen() const { return descriptor_ >= 0; }

    // Writes `bytes` at the end of the file. What a failure left behind can be taken back by
    // CutBack.
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
