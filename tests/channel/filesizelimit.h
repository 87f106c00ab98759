// A limit on the size of the files that the process writes.
#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstddef>

namespace NS_TEST {

// For the length of a block, writing beyond `size` bytes of a file fails as on a full disk: the
// write that crosses the limit is cut short there, the next one fails. Holds for the whole process.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(size_t size) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &previous_);
        struct rlimit limit = previous_;
        limit.rlim_cur = size;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, handler_);
    }

    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    void (*handler_)(int);
    struct rlimit previous_;
};

}  // namespace NS_TEST
