// The system calls below a log file, under the control of a test.
#include "channel/systemcalls.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <ctime>
#include <utility>

#include "support/kernelcall.h"

namespace NS_TEST {

SystemCalls& SystemCalls::Instance() {
    static SystemCalls instance;
    return instance;
}

void SystemCalls::ScriptWrites(WriteScript script) {
    writeScript_ = std::move(script);
    writes_ = 0;
}

void SystemCalls::ScriptOpens(OpenScript script) {
    openScript_ = std::move(script);
    opens_ = 0;
}

void SystemCalls::SetClock(int64_t second, int64_t step) {
    second_ = second;
    step_ = step;
    stepIsDue_ = false;
}

void SystemCalls::Reset() {
    ScriptWrites(nullptr);
    ScriptOpens(nullptr);
    SetClock(kStart, 0);
    monotonic_ = -1;
}

ssize_t SystemCalls::Write(int descriptor, const void* bytes, size_t size, off_t offset) {
    Fate fate;
    if (descriptor > STDERR_FILENO) {
        const uint64_t number = ++writes_;
        if (writeScript_) {
            fate = writeScript_(number, {static_cast<const char*>(bytes), size});
        }
    }
    if (fate.error != 0) {
        errno = fate.error;
        return -1;
    }
    const size_t taken = std::min(size, fate.bytes);
    return offset < 0 ? KernelCall(SYS_write, descriptor, bytes, taken)
                      : KernelCall(SYS_pwrite64, descriptor, bytes, taken, offset);
}

int SystemCalls::Open(const char* path, int flags, unsigned int mode) {
    const bool creates = (flags & O_CREAT) != 0;
    const uint64_t number = creates ? ++opens_ : 0;
    const int error = creates && openScript_ ? openScript_(number) : 0;
    if (error != 0) {
        errno = error;
        return -1;
    }
    const auto descriptor = static_cast<int>(KernelCall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (creates && descriptor >= 0) {
        stepIsDue_ = true;
    }
    return descriptor;
}

int64_t SystemCalls::TimeOfDay() {
    return stepIsDue_.exchange(false) ? second_.fetch_add(step_) : second_.load();
}

}  // namespace NS_TEST

extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t size) {
    return NS_TEST::SystemCalls::Instance().Write(descriptor, bytes, size);
}

// The service writes its records by this.
long syscall(long number, ...) noexcept {
    va_list list;
    va_start(list, number);
    const NS_TEST::KernelArguments arguments(list);
    va_end(list);
    return number == SYS_pwrite64 ? NS_TEST::SystemCalls::Instance().Write(
                                        arguments.As<int>(0), arguments.As<const void*>(1),
                                        arguments.As<size_t>(2), arguments.As<off_t>(3))
                                  : arguments.PassOn(number);
}

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode = (flags & O_CREAT) != 0 ? va_arg(arguments, unsigned int) : 0;
    va_end(arguments);
    return NS_TEST::SystemCalls::Instance().Open(path, flags, mode);
}

time_t time(time_t* result) noexcept {
    const time_t now = NS_TEST::SystemCalls::Instance().Time();
    if (result != nullptr) {
        *result = now;
    }
    return now;
}

int gettimeofday(struct timeval* __restrict now, void* __restrict) noexcept {
    *now = {NS_TEST::SystemCalls::Instance().TimeOfDay(), NS_TEST::SystemCalls::kMicrosecond};
    return 0;
}

int clock_gettime(clockid_t clock, struct timespec* now) noexcept {
    const int64_t monotonic =
        clock == CLOCK_MONOTONIC ? NS_TEST::SystemCalls::Instance().Monotonic() : -1;
    if (monotonic < 0) {
        return static_cast<int>(NS_TEST::KernelCall(SYS_clock_gettime, clock, now));
    }
    *now = {monotonic / 1000000, monotonic % 1000000 * 1000};
    return 0;
}

}  // extern "C"
