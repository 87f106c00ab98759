// The system calls below a log file, under the control of a test: the clock, the opening of files
// and the writing to them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>

#include <sys/types.h>

namespace NS_TEST {

// What the test program's own write, open, time and gettimeofday do. The service is linked into
// the program statically and so calls these; the platform, the C library and the test framework go
// on calling the real ones.
//
// Thread safety: the counters and the clock may be used by any thread; the scripts are set while no
// other thread writes.
class SystemCalls {
  public:
    // What becomes of one call of write: up to so many bytes are written, or the call fails with
    // the error and nothing is written.
    struct Fate {
        size_t bytes = SIZE_MAX;
        int error = 0;
    };
    // Decides about a call of write; the number counts from 1.
    using WriteScript = std::function<Fate(uint64_t number, std::string_view bytes)>;
    // Decides about a call of open that may create a file: 0, or the error it fails with.
    using OpenScript = std::function<int(uint64_t number)>;

    static SystemCalls& Instance();

    // Calls since the last Reset; only calls for descriptors above standard error count.
    uint64_t Writes() const { return writes_; }
    uint64_t Opens() const { return opens_; }

    void ScriptWrites(WriteScript script);
    void ScriptOpens(OpenScript script);

    // From now on the clock stands at `second` and `microsecond`, but for a step of `step` seconds
    // behind the creation of each file: when the time of day was read after a successful open.
    void SetClock(int64_t second, int microsecond, int64_t step);

    // Everything as the system does it.
    void Reset();

    ssize_t Write(int descriptor, const void* bytes, size_t size);
    int Open(const char* path, int flags, unsigned int mode);
    int64_t Time() const;
    // False while the real clock is shown.
    bool TimeOfDay(int64_t& second, int& microsecond);

  private:
    std::atomic<uint64_t> writes_{0};
    std::atomic<uint64_t> opens_{0};
    std::atomic<bool> clockIsSet_{false};
    std::atomic<int64_t> second_{0};
    std::atomic<int> microsecond_{0};
    std::atomic<int64_t> step_{0};
    std::atomic<bool> stepIsDue_{false};
    WriteScript writeScript_;
    OpenScript openScript_;
};

}  // namespace NS_TEST
