// The end of a child process that is a fork of the test.
#pragma once

#include <unistd.h>

#ifdef QV_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace NS_TEST {

// Ends the child at once: nothing that belongs to its parent is flushed or destroyed. Which lines
// it has reached counts nevertheless.
[[noreturn]] inline void EndChild(int status) {
#ifdef QV_COVERAGE
    __gcov_dump();
#endif
    ::_exit(status);
}

}  // namespace NS_TEST
