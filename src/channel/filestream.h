// An open file that is written in whole pieces.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace NS_LOG_SERVICE1 {

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
    // applies. Closes what was open. Returns false, with errno set, when that fails.
    bool Create(const std::string& path);

    bool IsOpen() const { return descriptor_ >= 0; }

    // Writes `bytes` at the end of the file. Returns how many of them were written: all, or fewer
    // with errno set. What a failure left behind can be taken back by CutBack.
    size_t Write(std::string_view bytes);

    // Removes the last `size` bytes of the file.
    void CutBack(size_t size);

    // Whether `path` names the open file.
    bool IsSameFile(const std::string& path) const;

    void Close();

  private:
    int descriptor_ = -1;
};

}  // namespace NS_LOG_SERVICE1
