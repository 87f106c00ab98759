#include "query/progress.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace NS_LOG_READER {
namespace {

constexpr int64_t kFirst = 1000;
constexpr int64_t kPause = 200;

int64_t Now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

Progress::Progress()
    : isWanted_(::isatty(STDERR_FILENO) != 0 && ::isatty(STDOUT_FILENO) == 0),
      next_(Now() + kFirst),
      begin_(Now()) {}

Progress::~Progress() {
    if (isShown_) {
        std::fputs("\r\x1b[K", stderr);
    }
}

void Progress::Add(uint64_t bytes) {
    bytes_ += bytes;
    if (!isWanted_) {
        return;
    }
    const int64_t now = Now();
    if (now < next_) {
        return;
    }
    const uint64_t speed = bytes_ / static_cast<uint64_t>(now - begin_) / 1000;
    std::fprintf(stderr, "\rqvlog: %llu MB read, %llu MB/s\x1b[K",
                 static_cast<unsigned long long>(bytes_ / 1000000),
                 static_cast<unsigned long long>(speed));
    isShown_ = true;
    next_ = now + kPause;
}

}  // namespace NS_LOG_READER
