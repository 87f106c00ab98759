#include "floors/outputfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace NS_BENCH {

OutputFile::OutputFile(const std::string& path) {
    Open(path);
}

OutputFile::~OutputFile() {
    close(descriptor_);
}

void OutputFile::Open(const std::string& path) {
    descriptor_ = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    size_ = 0;
}

void OutputFile::Write(const char* bytes, size_t size) {
    if (write(descriptor_, bytes, size) != static_cast<ssize_t>(size)) {
        throw std::system_error(errno, std::generic_category(), "write");
    }
    size_ += size;
}

void OutputFile::Rotate(const std::string& path) {
    close(descriptor_);
    Open(path);
}

}  // namespace NS_BENCH
