// The system calls below a log file, under the control of a test.
#include "channel/systemcalls.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>

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

void SystemCalls::SetClock(int64_t second, int microsecond, int64_t step) {
    second_ = second;
    microsecond_ = microsecond;
    step_ = step;
    stepIsDue_ = false;
    clockIsSet_ = true;
}

void SystemCalls::Reset() {
    ScriptWrites(nullptr);
    ScriptOpens(nullptr);
    clockIsSet_ = false;
}

ssize_t SystemCalls::Write(int descriptor, const void* bytes, size_t size) {
    if (descriptor <= STDERR_FILENO) {
        return syscall(SYS_write, descriptor, bytes, size);
    }
    const uint64_t number = ++writes_;
    if (!writeScript_) {
        return syscall(SYS_write, descriptor, bytes, size);
    }
    const Fate fate = writeScript_(number, {static_cast<const char*>(bytes), size});
    if (fate.error != 0) {
        errno = fate.error;
        return -1;
    }
    return syscall(SYS_write, descriptor, bytes, std::min(size, fate.bytes));
}

int SystemCalls::Open(const char* path, int flags, unsigned int mode) {
    if ((flags & O_CREAT) != 0) {
        const uint64_t number = ++opens_;
        const int error = openScript_ ? openScript_(number) : 0;
        if (error != 0) {
            errno = error;
            return -1;
        }
    }
    const auto descriptor = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    if ((flags & O_CREAT) != 0 && descriptor >= 0) {
        stepIsDue_ = true;
    }
    return descriptor;
}

int64_t SystemCalls::Time() const {
    if (clockIsSet_) {
        return second_;
    }
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec;
}

bool SystemCalls::TimeOfDay(int64_t& second, int& microsecond) {
    second = second_;
    microsecond = microsecond_;
    if (stepIsDue_.exchange(false)) {
        second_ += step_;
    }
    return clockIsSet_;
}

}  // namespace NS_TEST

extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t size) {
    return NS_TEST::SystemCalls::Instance().Write(descriptor, bytes, size);
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
    int64_t second = 0;
    int microsecond = 0;
    if (NS_TEST::SystemCalls::Instance().TimeOfDay(second, microsecond)) {
        now->tv_sec = second;
        now->tv_usec = microsecond;
        return 0;
    }
    struct timespec real;
    clock_gettime(CLOCK_REALTIME, &real);
    now->tv_sec = real.tv_sec;
    now->tv_usec = real.tv_nsec / 1000;
    return 0;
}

}  // extern "C"
