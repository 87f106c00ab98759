// System calls for those who take the place of the C library's operations, syscall among them.
#pragma once

#include <dlfcn.h>

#include <atomic>
#include <cstdarg>

namespace NS_TEST {

// What the C library's syscall does. May be called before anything has been initialised.
template <class... Arguments>
long KernelCall(long number, Arguments... arguments) {
    using Function = long (*)(long, ...);
    static std::atomic<Function> known{nullptr};
    Function next = known.load(std::memory_order_relaxed);
    if (next == nullptr) {
        next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "syscall"));
        known.store(next, std::memory_order_relaxed);
    }
    return next(number, arguments...);
}

// The arguments of any system call, taken from those of a function with the form of syscall. All
// six are taken, as the C library does it, however many were given.
struct KernelArguments {
    __attribute__((no_sanitize_address)) explicit KernelArguments(va_list list) {
        for (long& value : values) {
            value = va_arg(list, long);
        }
    }

    template <class Value>
    Value As(int position) const {
        return (Value)values[position];  // NOLINT: a pointer or a number
    }
    long PassOn(long number) const {
        return KernelCall(number, values[0], values[1], values[2], values[3], values[4], values[5]);
    }

    long values[6];
};

}  // namespace NS_TEST
