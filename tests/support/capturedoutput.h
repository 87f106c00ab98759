// What the process writes to standard output or standard error, caught for the length of a block.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "support/files.h"

namespace NS_TEST {

// Catches every write to the descriptor, whoever makes it, in a file without a name.
//
// Thread safety: other threads may write meanwhile.
class CapturedOutput {
  public:
    // `descriptor`: STDOUT_FILENO or STDERR_FILENO.
    explicit CapturedOutput(int descriptor) : descriptor_(descriptor) {
        std::fflush(nullptr);
        file_ = std::tmpfile();
        saved_ = dup(descriptor);
        if (file_ == nullptr || saved_ < 0 || dup2(fileno(file_), descriptor) < 0) {
            throw std::system_error(errno, std::generic_category(), "capture output");
        }
    }

    ~CapturedOutput() {
        std::fflush(nullptr);
        dup2(saved_, descriptor_);
        close(saved_);
        std::fclose(file_);
    }

    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    // Everything since the start of the block.
    std::string Text() const {
        std::fflush(nullptr);
        return ReadFile("/proc/self/fd/" + std::to_string(fileno(file_)));
    }

  private:
    int descriptor_;
    int saved_ = -1;
    std::FILE* file_ = nullptr;
};

}  // namespace NS_TEST
