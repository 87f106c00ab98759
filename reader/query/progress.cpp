#include "query/progress.h"

#include <chrono>
#include <cstdio>

namespace NS_LOG_READER {
namespace {

constexpr int64_t kFirst = 1000;
constexpr int64_t kPause = 200;

}  // namespace

int64_t Progress::SteadyClock() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

Progress::Progress(int messages, int output, Clock clock)
    : messages_(messages),
      clock_(clock),
      isWanted_(::isatty(messages) != 0 && ::isatty(output) == 0),
      begin_(clock()),
      next_(begin_ + kFirst) {}

Progress::~Progress() {
    if (isShown_) {
        ::dprintf(messages_, "\r\x1b[K");
    }
}

void Progress::Add(uint64_t bytes) {
    bytes_ += bytes;
    if (!isWanted_) {
        return;
    }
    const int64_t now = clock_();
    if (now < next_) {
        return;
    }
    const uint64_t speed = bytes_ / static_cast<uint64_t>(now - begin_) / 1000;
    ::dprintf(messages_, "\rqvlog: %llu MB read, %llu MB/s\x1b[K",
              static_cast<unsigned long long>(bytes_ / 1000000),
              static_cast<unsigned long long>(speed));
    isShown_ = true;
    next_ = now + kPause;
}

}  // namespace NS_LOG_READER
