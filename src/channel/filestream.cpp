#include "channel/filestream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace NS_LOG_SERVICE1 {

bool FileStream::Create(const std::string& path) {
    Close();
    // Appending, so that the file goes on at its end when somebody empties it meanwhile. Closed on
    // exec, so that a child process does not keep a removed file's space.
    do {
        descriptor_ =
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
    } while (descriptor_ < 0 && errno == EINTR);
    return IsOpen();
}

size_t FileStream::Write(std::string_view bytes) {
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t result = ::write(descriptor_, bytes.data() + written, bytes.size() - written);
        if (result > 0) {
            written += static_cast<size_t>(result);
        } else if (result == 0 || errno != EINTR) {
            break;
        }
    }
    return written;
}

void FileStream::CutBack(size_t size) {
    const int error = errno;
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    if (end >= static_cast<off_t>(size)) {
        // Where even that fails (a pipe, say), there is nothing left to try.
        [[maybe_unused]] const int result =
            ::ftruncate(descriptor_, end - static_cast<off_t>(size));
    }
    errno = error;
}

bool FileStream::IsSameFile(const std::string& path) const {
    struct stat open {};
    struct stat named {};
    return ::fstat(descriptor_, &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

void FileStream::Close() {
    if (IsOpen()) {
        ::close(descriptor_);
        descriptor_ = -1;
    }
}

}  // namespace NS_LOG_SERVICE1
