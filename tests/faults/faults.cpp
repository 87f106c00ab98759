#include "faults/faults.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sstream>

#include "support/kernelcall.h"

namespace NS_TEST {
namespace {

constexpr size_t kDescriptors = 4096;

// Everything that a call looks at. It is planned while nobody calls; never destroyed, because
// the process writes until its end.
struct Plan {
    std::string directory;
    std::vector<Fault> faults;
    std::array<std::atomic<uint64_t>, kFaultyCalls> calls{};
    std::atomic<uint64_t> met{0};
    std::atomic<int> holdsNext{-1};
    std::atomic<bool> held{false};
    std::array<std::atomic<bool>, kDescriptors> watched{};
    std::atomic<bool> clockStands{false};
    std::atomic<int64_t> second{0};
    std::atomic<int64_t> step{0};
    std::atomic<bool> stepIsDue{false};
};

// The monotonic clock is asked before a sanitizer's runtime is ready for anything that has to be
// initialised.
std::atomic<int64_t> hurry{0};
std::atomic<int64_t> ahead{0};

Plan& ThePlan() {
    static Plan& plan = *new Plan;
    return plan;
}

bool IsWatched(int descriptor) {
    return descriptor >= 0 && static_cast<size_t>(descriptor) < kDescriptors &&
           ThePlan().watched[static_cast<size_t>(descriptor)];
}

bool IsWatched(const char* path, int flags) {
    const std::string& directory = ThePlan().directory;
    return !directory.empty() && (flags & O_ACCMODE) != O_RDONLY &&
           std::strncmp(path, directory.c_str(), directory.size()) == 0;
}

// Counts the call; null where it goes as usual. A held one waits here, and is a cancellation point
// if the call is one whose place this takes.
const Fault* Meet(FaultyCall call, bool mayCancel = true) {
    Plan& plan = ThePlan();
    const uint64_t number = ++plan.calls[static_cast<size_t>(call)];
    int next = static_cast<int>(call);
    if (plan.holdsNext.compare_exchange_strong(next, -1)) {
        plan.held = true;
        while (plan.held) {
            const struct timespec pause { 0, 1'000'000 };
            KernelCall(SYS_nanosleep, &pause, nullptr);
        }
        if (mayCancel) {
            ::pthread_testcancel();
        }
    }
    for (const Fault& fault : plan.faults) {
        if (fault.call == call && fault.first <= number && number <= fault.last) {
            ++plan.met;
            return &fault;
        }
    }
    return nullptr;
}

int Refuse(const Fault& fault) {
    errno = fault.error;
    return -1;
}

// `offset`: pwrite's; negative for write.
ssize_t Write(int descriptor, const void* bytes, size_t size, off_t offset, bool mayCancel = true) {
    const auto write = [=](size_t taken) -> ssize_t {
        return offset < 0 ? KernelCall(SYS_write, descriptor, bytes, taken)
                          : KernelCall(SYS_pwrite64, descriptor, bytes, taken, offset);
    };
    const Fault* const fault = IsWatched(descriptor) ? Meet(FaultyCall::WRITE, mayCancel) : nullptr;
    if (fault == nullptr) {
        return write(size);
    }
    if (fault->error != 0) {
        return Refuse(*fault);
    }
    const ssize_t taken = write(std::min(size, fault->bytes));
    if (fault->kills) {
        KernelCall(SYS_kill, getpid(), SIGKILL);
    }
    return taken;
}

int Open(const char* path, int flags, unsigned int mode) {
    Plan& plan = ThePlan();
    const bool watched = IsWatched(path, flags);
    if (watched) {
        const Fault* const fault = Meet(FaultyCall::OPEN);
        if (fault != nullptr) {
            return Refuse(*fault);
        }
    }
    const auto descriptor = static_cast<int>(KernelCall(SYS_openat, AT_FDCWD, path, flags, mode));
    if (watched && descriptor >= 0 && static_cast<size_t>(descriptor) < kDescriptors) {
        plan.watched[static_cast<size_t>(descriptor)] = true;
        plan.stepIsDue = true;
    }
    return descriptor;
}

// A call that fails has closed the descriptor all the same, as the kernel does it.
int Close(int descriptor) {
    const bool watched = IsWatched(descriptor);
    const Fault* const fault = watched ? Meet(FaultyCall::CLOSE) : nullptr;
    if (watched) {
        ThePlan().watched[static_cast<size_t>(descriptor)] = false;
    }
    const auto result = static_cast<int>(KernelCall(SYS_close, descriptor));
    return fault == nullptr ? result : Refuse(*fault);
}

int Truncate(int descriptor, off_t size) {
    const Fault* const fault = IsWatched(descriptor) ? Meet(FaultyCall::TRUNCATE, false) : nullptr;
    return fault == nullptr ? static_cast<int>(KernelCall(SYS_ftruncate, descriptor, size))
                            : Refuse(*fault);
}

ssize_t Read(int descriptor, void* bytes, size_t size, off_t offset) {
    const Fault* const fault = IsWatched(descriptor) ? Meet(FaultyCall::READ) : nullptr;
    if (fault != nullptr && fault->error != 0) {
        return Refuse(*fault);
    }
    const size_t wanted = fault == nullptr ? size : std::min(size, fault->bytes);
    return KernelCall(SYS_pread64, descriptor, bytes, wanted, offset);
}

int64_t StandingSecond() {
    Plan& plan = ThePlan();
    return plan.stepIsDue.exchange(false) ? plan.second.fetch_add(plan.step) : plan.second.load();
}

// One fault of QV_FAULTS.
Fault ParseFault(const std::string& text) {
    std::istringstream in(text);
    std::string call;
    std::getline(in, call, ':');
    Fault fault;
    fault.call = call == "write"   ? FaultyCall::WRITE
                 : call == "open"  ? FaultyCall::OPEN
                 : call == "close" ? FaultyCall::CLOSE
                 : call == "read"  ? FaultyCall::READ
                                   : FaultyCall::TRUNCATE;
    char colon = 0;
    in >> fault.first >> colon >> fault.last >> colon >> fault.error >> colon >> fault.bytes >>
        colon >> fault.kills;
    return fault;
}

struct OrdersOfTheEnvironment {
    OrdersOfTheEnvironment() {
        const char* const directory = std::getenv("QV_FAULTS_BELOW");
        const char* const faults = std::getenv("QV_FAULTS");
        if (directory == nullptr || faults == nullptr) {
            return;
        }
        ordered = true;
        std::vector<Fault> plan;
        std::istringstream in(faults);
        for (std::string text; std::getline(in, text, ',');) {
            plan.push_back(ParseFault(text));
        }
        PlanFaults(directory, plan);
    }
    ~OrdersOfTheEnvironment() {
        if (ordered) {
            std::fprintf(stderr, "faults: %llu\n", static_cast<unsigned long long>(FaultsSoFar()));
        }
    }
    bool ordered = false;
};

const OrdersOfTheEnvironment orders;

}  // namespace

void PlanFaults(const std::string& directory, const std::vector<Fault>& faults) {
    Plan& plan = ThePlan();
    plan.directory = directory;
    plan.faults = faults;
    for (auto& count : plan.calls) {
        count = 0;
    }
    plan.met = 0;
}

uint64_t CallsSoFar(FaultyCall call) {
    return ThePlan().calls[static_cast<size_t>(call)];
}

uint64_t FaultsSoFar() {
    return ThePlan().met;
}

void HoldNextCall(FaultyCall call) {
    ThePlan().holdsNext = static_cast<int>(call);
}

bool IsCallHeld() {
    return ThePlan().held;
}

void ReleaseCall() {
    ThePlan().holdsNext = -1;
    ThePlan().held = false;
}

void StopClock(int64_t second, int64_t step) {
    Plan& plan = ThePlan();
    plan.second = second;
    plan.step = step;
    plan.stepIsDue = false;
    plan.clockStands = true;
}

void HurryMonotonicClock(int64_t seconds) {
    hurry = seconds;
}

}  // namespace NS_TEST

extern "C" {

ssize_t write(int descriptor, const void* bytes, size_t size) {
    return NS_TEST::Write(descriptor, bytes, size, -1);
}

ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t offset) {
    return NS_TEST::Write(descriptor, bytes, size, offset);
}

// The service writes its records by this, without a cancellation point.
long syscall(long number, ...) noexcept {
    va_list list;
    va_start(list, number);
    const NS_TEST::KernelArguments arguments(list);
    va_end(list);
    return number == SYS_pwrite64
               ? NS_TEST::Write(arguments.As<int>(0), arguments.As<const void*>(1),
                                arguments.As<size_t>(2), arguments.As<off_t>(3), false)
               : arguments.PassOn(number);
}

ssize_t writev(int descriptor, const struct iovec* parts, int count) {
    if (!NS_TEST::IsWatched(descriptor)) {
        return NS_TEST::KernelCall(SYS_writev, descriptor, parts, count);
    }
    std::string all;
    for (int i = 0; i < count; ++i) {
        all.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
    }
    return NS_TEST::Write(descriptor, all.data(), all.size(), -1);
}

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode =
        (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    return NS_TEST::Open(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned int mode =
        (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    return NS_TEST::Open(path, flags, mode);
}

int close(int descriptor) {
    return NS_TEST::Close(descriptor);
}

int ftruncate(int descriptor, off_t size) noexcept {
    return NS_TEST::Truncate(descriptor, size);
}

ssize_t pread(int descriptor, void* bytes, size_t size, off_t offset) {
    return NS_TEST::Read(descriptor, bytes, size, offset);
}

time_t time(time_t* result) noexcept {
    time_t now = 0;
    if (NS_TEST::ThePlan().clockStands) {
        now = NS_TEST::ThePlan().second;
    } else {
        struct timespec spec {};
        NS_TEST::KernelCall(SYS_clock_gettime, CLOCK_REALTIME, &spec);
        now = spec.tv_sec;
    }
    if (result != nullptr) {
        *result = now;
    }
    return now;
}

int clock_gettime(clockid_t clock, struct timespec* now) noexcept {
    const auto result = static_cast<int>(NS_TEST::KernelCall(SYS_clock_gettime, clock, now));
    if (result == 0 && clock == CLOCK_MONOTONIC) {
        now->tv_sec += NS_TEST::ahead += NS_TEST::hurry.load();
    }
    return result;
}

int gettimeofday(struct timeval* __restrict now, void* __restrict zone) noexcept {
    if (NS_TEST::ThePlan().clockStands) {
        *now = {NS_TEST::StandingSecond(), 654321};
        return 0;
    }
    return static_cast<int>(NS_TEST::KernelCall(SYS_gettimeofday, now, zone));
}

}  // extern "C"
