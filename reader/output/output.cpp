#include "output/output.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <system_error>

namespace NS_LOG_READER {
namespace {

constexpr size_t kBufferSize = size_t{256} * 1024;

void WriteAll(int descriptor, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            if (errno == EPIPE) {
                throw OutputClosed();
            }
            throw std::system_error(errno, std::generic_category(), "the output");
        }
        bytes += written;
        size -= static_cast<size_t>(written);
    }
}

}  // namespace

Output::Output(int descriptor)
    : descriptor_(descriptor), buffer_(new char[kBufferSize]), capacity_(kBufferSize) {}

char* Output::Room(size_t size) {
    if (capacity_ - size_ < size) {
        Flush();
        if (capacity_ < size) {
            buffer_.reset(new char[size]);
            capacity_ = size;
        }
    }
    return buffer_.get() + size_;
}

void Output::Put(std::string_view text) {
    if (text.size() > capacity_ / 2) {
        Flush();
        WriteAll(descriptor_, text.data(), text.size());
        return;
    }
    char* const place = Room(text.size());
    std::memcpy(place, text.data(), text.size());
    size_ += text.size();
}

void Output::PutNumber(int64_t number) {
    char* const place = Room(24);
    Commit(std::to_chars(place, place + 24, number).ptr);
}

void Output::Flush() {
    const size_t size = size_;
    size_ = 0;
    WriteAll(descriptor_, buffer_.get(), size);
}

}  // namespace NS_LOG_READER
