// The system calls below a log file, under the control of a test: the clock, the opening of files
// and the writing to them.
#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <atomic>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

namespace NS_TEST {

// What the test program's own write, syscall, open, time, gettimeofday and clock_gettime do. The
// service is linked into the program statically and so calls these; the platform, the C library and
// the test framework go on calling the real ones.
//
// Thread safety: the counters and the clock may be used by any thread; the rest while no other
// thread writes.
class SystemCalls {
  public:
    // Where the clock stands at first: 14:07:09.654321 on 5 March 2024.
    static constexpr int64_t kStart = 1709647629;
    static constexpr int kMicrosecond = 654321;

    // What becomes of one call of write or pwrite64: up to so many bytes are written, or the call
    // fails with the error and nothing is written.
    struct Fate {
        size_t bytes = SIZE_MAX;
        int error = 0;
    };
    // Decides about a call of write; the number counts from 1.
    using WriteScript = std::function<Fate(uint64_t number, std::string_view bytes)>;
    // Decides about a call of open that may create a file: 0, or the error it fails with.
    using OpenScript = std::function<int(uint64_t number)>;

    static SystemCalls& Instance();

    // Calls since the script was set; only calls for descriptors above standard error count.
    uint64_t Writes() const { return writes_; }
    uint64_t Opens() const { return opens_; }

    // Null for what the system does.
    void ScriptWrites(WriteScript script);
    void ScriptOpens(OpenScript script);

    // The clock stands at `second`, but for a step of `step` seconds behind the creation of each
    // file: when the time of day was read after a successful open.
    void SetClock(int64_t second, int64_t step);

    // The clock that nobody sets stands still from now on, but for a step behind each look at it,
    // and goes on by so many microseconds.
    void StopMonotonicClock(int64_t step = 0) {
        monotonic_ = 0;
        monotonicStep_ = step;
    }
    void LetPass(int64_t microseconds) { monotonic_ += microseconds; }

    // No scripts, the clock stands at its start, and the one that nobody sets runs.
    void Reset();

    // `offset`: that of pwrite64; negative for write.
    ssize_t Write(int descriptor, const void* bytes, size_t size, off_t offset = -1);
    int Open(const char* path, int flags, unsigned int mode);
    int64_t Time() const { return second_; }
    int64_t TimeOfDay();
    // Negative while it runs.
    int64_t Monotonic() { return monotonic_ < 0 ? -1 : monotonic_.fetch_add(monotonicStep_); }

  private:
    std::atomic<uint64_t> writes_{0};
    std::atomic<uint64_t> opens_{0};
    std::atomic<int64_t> second_{kStart};
    std::atomic<int64_t> step_{0};
    std::atomic<bool> stepIsDue_{false};
    std::atomic<int64_t> monotonic_{-1};
    std::atomic<int64_t> monotonicStep_{0};
    WriteScript writeScript_;
    OpenScript openScript_;
};

// For the length of a block, writing beyond `size` bytes of a file fails as on a full disk. The
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
