// Tells on a terminal how far the reading is.
#pragma once

#include <unistd.h>

#include <cstdint>

namespace NS_LOG_READER {

// Says nothing during the first second, and nothing where standard error is no terminal, or
// standard output is one, which would be disturbed.
//
// Thread safety: one thread.
class Progress {
  public:
    // Milliseconds since any moment.
    using Clock = int64_t (*)();
    static int64_t SteadyClock();

    // `messages` is where to tell, `output` where the results go: numbers of open files.
    explicit Progress(int messages = STDERR_FILENO, int output = STDOUT_FILENO,
                      Clock clock = &SteadyClock);
    ~Progress();

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // So many bytes more have been read.
    void Add(uint64_t bytes);

  private:
    const int messages_;
    const Clock clock_;
    const bool isWanted_;
    bool isShown_ = false;
    uint64_t bytes_ = 0;
    int64_t begin_;
    int64_t next_;  // when to say something
};

}  // namespace NS_LOG_READER
