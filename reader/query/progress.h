// Tells on a terminal how far the reading is.
#pragma once

#include <cstdint>

namespace NS_LOG_READER {

// Says nothing during the first second, and nothing where standard error is no terminal, or
// standard output is one, which would be disturbed.
//
// Thread safety: one thread.
class Progress {
  public:
    Progress();
    ~Progress();

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // So many bytes more have been read.
    void Add(uint64_t bytes);

  private:
    bool isWanted_;
    bool isShown_ = false;
    uint64_t bytes_ = 0;
    int64_t next_;  // when to say something, in milliseconds
    int64_t begin_;
};

}  // namespace NS_LOG_READER
