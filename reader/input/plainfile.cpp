#include "input/plainfile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace NS_LOG_READER {

void RefusePipe(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        throw ReadError(path + ": it is a pipe or a device; write it into a file first");
    }
}

PlainFile::PlainFile(const std::string& path) : path_(path) {
    RefusePipe(path);
    descriptor_ = FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor_.IsOpen()) {
        throw ReadError(path + ": " + std::strerror(errno));
    }
}

PlainFile::PlainFile(FileDescriptor descriptor, std::string path)
    : path_(std::move(path)), descriptor_(std::move(descriptor)) {}

size_t PlainFile::Read(char* bytes, size_t size) {
    ssize_t result = 0;
    do {
        result = ::pread(descriptor_.Get(), bytes, size, static_cast<off_t>(offset_));
    } while (result < 0 && errno == EINTR);
    if (result < 0) {
        throw ReadError(path_ + ": " + std::strerror(errno));
    }
    offset_ += static_cast<uint64_t>(result);
    return static_cast<size_t>(result);
}

struct stat PlainFile::Status() const {
    struct stat status {};
    if (::fstat(descriptor_.Get(), &status) != 0) {
        throw ReadError(path_ + ": " + std::strerror(errno));
    }
    return status;
}

uint64_t PlainFile::Size() const {
    return static_cast<uint64_t>(Status().st_size);
}

}  // namespace NS_LOG_READER
