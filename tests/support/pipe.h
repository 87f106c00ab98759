// A pipe between a test and a program.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace NS_TEST {

// Both ends of a pipe, each -1 once it is closed. No program inherits them unasked.
//
// Thread safety: one thread.
class Pipe {
  public:
    Pipe() {
        if (pipe2(ends_, O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
    }
    ~Pipe() {
        CloseReader();
        CloseWriter();
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Reader() const { return ends_[0]; }
    int Writer() const { return ends_[1]; }
    void CloseReader() { Close(ends_[0]); }
    void CloseWriter() { Close(ends_[1]); }

    // Throws std::system_error when the pipe does not take all of it.
    void Write(const std::string& text) const {
        if (write(ends_[1], text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::system_error(errno, std::generic_category(), "write");
        }
    }

    // Appends what is there, waiting for it; closes the reader's end when nothing comes any more.
    void ReadTo(std::string& text) {
        char chunk[65536];
        const ssize_t length = read(ends_[0], chunk, sizeof(chunk));
        if (length > 0) {
            text.append(chunk, static_cast<std::string::size_type>(length));
        } else if (length == 0 || errno != EINTR) {
            CloseReader();
        }
    }

  private:
    static void Close(int& end) {
        if (end >= 0) {
            close(end);
            end = -1;
        }
    }

    int ends_[2] = {-1, -1};
};

}  // namespace NS_TEST
