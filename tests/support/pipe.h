// A pipe that a test writes to.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace NS_TEST {

// Both ends of a pipe; no other program inherits them.
class Pipe {
  public:
    Pipe() {
        if (pipe2(ends_, O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
    }
    ~Pipe() {
        close(ends_[0]);
        CloseWriter();
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Reader() const { return ends_[0]; }

    void Write(const std::string& text) const {
        ASSERT_EQ(write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void CloseWriter() {
        if (ends_[1] >= 0) {
            close(ends_[1]);
            ends_[1] = -1;
        }
    }

  private:
    int ends_[2] = {-1, -1};
};

}  // namespace NS_TEST
