// Whether a test can look at the system calls of a program.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>

namespace NS_TEST {

// Why a test is skipped where it cannot.
constexpr const char* kNoTrace = "no process may be traced here";

// Whether strace(1) may trace a program here, which the system or a container may forbid. That it
// is not installed is a failure.
inline bool MayTrace() {
    constexpr int kNotFound = 127;
    const int result = std::system("strace -qq -o /dev/null true 2>/dev/null");
    EXPECT_NE(WEXITSTATUS(result), kNotFound) << "strace is not installed";
    return result == 0;
}

}  // namespace NS_TEST
