#include "channel/filestream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace NS_LOG_SERVICE1 {
namespace {

// O_APPEND: when somebody empties the file, writing continues at its new end. O_CLOEXEC: a child
// process does not keep the space of a removed file. O_NONBLOCK: opening a pipe does not wait for
// its reader; for regular files it has no meaning.
constexpr int kFlags = O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

std::error_code LastError() {
    return {errno, std::generic_category()};
}

FileIdentity IdentityIn(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

}  // namespace

std::optional<FileIdentity> IdentityOf(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return IdentityIn(status);
}

// `flags` in addition to those that every log file is opened with.
std::error_code FileStream::Open(const std::string& path, int flags, mode_t mode) {
    Close();
    do {
        descriptor_ = ::open(path.c_str(), kFlags | flags, mode);
    } while (descriptor_ < 0 && errno == EINTR);
    struct stat status {};
    if (!IsOpen() || ::fstat(descriptor_, &status) != 0) {
        const std::error_code error = LastError();
        Close();
        return error;
    }
    if (!S_ISREG(status.st_mode)) {
        Close();
        return std::make_error_code(std::errc::no_such_device_or_address);
    }
    identity_ = IdentityIn(status);
    sizeFound_ = static_cast<uint64_t>(status.st_size);
    end_ = status.st_size;
    isNew_ = (flags & O_EXCL) != 0;
    return {};
}

// Emptied after the opening, so that what is lost can be counted.
std::error_code FileStream::Create(const std::string& path) {
    std::error_code error = Open(path, O_WRONLY | O_CREAT, 0666);
    if (!error && sizeFound_ != 0) {
        error = Cut(0);
    }
    if (error) {
        Close();
    }
    return error;
}

std::error_code FileStream::Continue(const std::string& path, mode_t mode) {
    // A file that comes or goes between the two looks is found by the next one.
    constexpr int kLooks = 3;
    std::error_code error;
    for (int i = 0; i < kLooks; ++i) {
        error = Open(path, O_RDWR | O_CREAT | O_EXCL, mode);
        if (error != std::errc::file_exists) {
            break;
        }
        error = Open(path, O_RDWR, 0);
        if (error != std::errc::no_such_file_or_directory) {
            break;
        }
    }
    if (!error && isNew_) {
        // Where this fails, the file system has no modes.
        [[maybe_unused]] const int result = ::fchmod(descriptor_, mode);
    }
    return error;
}

uint64_t FileStream::Size() const {
    struct stat status {};
    return ::fstat(descriptor_, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
}

// The first write has taken so much, or failed.
WriteResult FileStream::WriteRest(std::string_view bytes, ssize_t taken) {
    WriteResult result;
    for (;;) {
        if (taken > 0) {
            result.written += static_cast<size_t>(taken);
        } else if (taken == 0) {
            // Trying again might go on for ever.
            result.error = EIO;
        } else if (errno != EINTR) {
            result.error = errno;
        }
        if (result.error != 0 || result.written == bytes.size()) {
            return result;
        }
        taken = Append(bytes.substr(result.written));
    }
}

std::error_code FileStream::CutBack(size_t size) {
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    if (end < static_cast<off_t>(size)) {
        return end < 0 ? LastError() : std::error_code();
    }
    return size == 0 ? std::error_code() : Cut(end - static_cast<off_t>(size));
}

std::error_code FileStream::Cut(off_t end) {
    int result = 0;
    do {
        result = ::ftruncate(descriptor_, end);
    } while (result != 0 && errno == EINTR);
    if (result != 0) {
        return LastError();
    }
    end_ = end;
    return {};
}

ReadResult FileStream::Read(uint64_t offset, char* bytes, size_t size) const {
    ReadResult result;
    while (result.length < size) {
        const ssize_t got = ::pread(descriptor_, bytes + result.length, size - result.length,
                                    static_cast<off_t>(offset + result.length));
        if (got > 0) {
            result.length += static_cast<size_t>(got);
        } else if (got == 0) {
            break;
        } else if (errno != EINTR) {
            result.error = LastError();
            break;
        }
    }
    return result;
}

bool FileStream::IsSameFile(const std::string& path) const {
    return IsOpen() && IdentityOf(path) == identity_;
}

void FileStream::Swap(FileStream& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(identity_, other.identity_);
    std::swap(sizeFound_, other.sizeFound_);
    std::swap(end_, other.end_);
    std::swap(isNew_, other.isNew_);
}

std::error_code FileStream::Close() {
    const int descriptor = std::exchange(descriptor_, -1);
    // Not repeated after a signal: the descriptor is free all the same.
    return descriptor < 0 || ::close(descriptor) == 0 || errno == EINTR ? std::error_code()
                                                                        : LastError();
}

}  // namespace NS_LOG_SERVICE1
