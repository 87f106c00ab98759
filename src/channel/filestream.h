// A file that is written without a buffer.
#pragma once

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace NS_LOG_SERVICE1 {

// The result of a write. `written` is the number of bytes that reached the kernel: all of them,
// unless there is an error. `error` is a value of errno, or 0. Each record makes a WriteResult, and
// a std::error_code, even one that says "none", takes a call of another library.
struct WriteResult {
    size_t written = 0;
    int error = 0;

    std::error_code Error() const { return {error, std::generic_category()}; }
};

// The result of a read. `length` is the number of bytes that were read: all that were asked for,
// unless the file ends there or there is an error.
struct ReadResult {
    size_t length = 0;
    std::error_code error;
};

// Tells files apart, whatever their names.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;

    bool operator==(const FileIdentity& other) const {
        return device == other.device && inode == other.inode;
    }
};

// Returns the file that has that path at present, if any.
std::optional<FileIdentity> IdentityOf(const std::string& path);

// What Write reports as written has reached the kernel. The standard library's streams do not serve
// here: after a failed write they do not say how much of a record reached the file, and they stay
// in the failed state.
//
// A path is opened only when it names a regular file. A symbolic link as its last component is
// refused, since it may point anywhere; so is a pipe or a device, which could make the opening wait
// and cannot be cut back.
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

    // Opens `path` for writing at its end, or creates it with exactly this mode, whatever the
    // process's creation mask. Closes the file that was open, also when this fails.
    std::error_code Continue(const std::string& path, mode_t mode);

    bool IsOpen() const { return descriptor_ >= 0; }

    // Of the file that was opened last.
    const FileIdentity& Identity() const { return identity_; }
    // The bytes that stood in it: emptied by Create, kept by Continue.
    uint64_t SizeFound() const { return sizeFound_; }
    // Whether Continue has created it.
    bool IsNew() const { return isNew_; }

    // The bytes that stand in it now.
    uint64_t Size() const;

    // Appends `bytes` to the file. After a failure, CutBack can remove what was written. No
    // cancellation point.
    WriteResult Write(std::string_view bytes) {
        const ssize_t taken = Append(bytes);
        return taken == static_cast<ssize_t>(bytes.size()) ? WriteResult{bytes.size(), 0}
                                                           : WriteRest(bytes, taken);
    }

    // Removes the last `size` bytes of the file.
    std::error_code CutBack(size_t size);

    // Reads up to `size` bytes from `offset` on. REQUIRES: Continue has opened the file.
    ReadResult Read(uint64_t offset, char* bytes, size_t size) const;

    // Whether `path` names the open file.
    bool IsSameFile(const std::string& path) const;

    void Swap(FileStream& other) noexcept;

    std::error_code Close();

    // Closes nothing and forgets the descriptor, which others may use by now.
    void Abandon() { descriptor_ = -1; }

  private:
    std::error_code Open(const std::string& path, int flags, mode_t mode);
    WriteResult WriteRest(std::string_view bytes, ssize_t taken);
    std::error_code Cut(off_t end);

    // Linux writes a file with O_APPEND at its end, whatever the offset. Without the position that
    // all users of a descriptor share, the kernel need not lock it: a twentieth of a record's time.
    //
    // The system call itself, because the C library's pwrite is a cancellation point: that takes
    // two locked instructions, and keeping the thread from being cancelled there two more. Together
    // they are a twelfth of a record's instructions.
    ssize_t Append(std::string_view bytes) {
        static_assert(sizeof(long) >= sizeof(off_t), "an offset is one argument");
        const ssize_t taken =
            ::syscall(SYS_pwrite64, descriptor_, bytes.data(), bytes.size(), end_);
        end_ += taken > 0 ? taken : 0;
        return taken;
    }

    int descriptor_ = -1;
    FileIdentity identity_;
    uint64_t sizeFound_ = 0;
    off_t end_ = 0;  // of the file, unless somebody else changes it
    bool isNew_ = false;
};

}  // namespace NS_LOG_SERVICE1
