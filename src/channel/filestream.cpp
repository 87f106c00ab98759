#include "channel/filestream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace NS_LOG_SERVICE1 {
namespace {

std::error_code LastError() {
    return {errno, std::generic_category()};
}

}  // namespace

std::error_code FileStream::Create(const std::string& path) {
    Close();
    // O_APPEND: when somebody empties the file, writing continues at its new end. O_CLOEXEC: a
    // child process does not keep the space of a removed file.
    do {
        descriptor_ =
            ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
    } while (descriptor_ < 0 && errno == EINTR);
    return IsOpen() ? std::error_code() : LastError();
}

WriteResult FileStream::Write(std::string_view bytes) {
    WriteResult result;
    while (result.written < bytes.size() && !result.error) {
        const ssize_t taken =
            ::write(descriptor_, bytes.data() + result.written, bytes.size() - result.written);
        if (taken > 0) {
            result.written += static_cast<size_t>(taken);
        } else if (taken == 0) {
            // Trying again might go on for ever.
            result.error = std::make_error_code(std::errc::io_error);
        } else if (errno != EINTR) {
            result.error = LastError();
        }
    }
    return result;
}

void FileStream::CutBack(size_t size) {
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    if (end >= static_cast<off_t>(size)) {
        // When this fails too, as for a pipe, nothing else can be done.
        [[maybe_unused]] const int result =
            ::ftruncate(descriptor_, end - static_cast<off_t>(size));
    }
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
