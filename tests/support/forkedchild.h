// A child process that is a fork of the test.
#pragma once

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#ifdef QV_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace NS_TEST {

// What a child gets that has no time limit.
constexpr unsigned kNoTimeLimit = 0;

// Forks; returns 0 in the child, as fork(2) does. The child is killed when the thread that has made
// it ends, and by SIGALRM when it takes longer than `seconds`. Throws std::system_error when there
// can be no child.
inline pid_t ForkChild(unsigned seconds = 100) {
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::alarm(seconds);
        if (::getppid() != parent) {  // it had ended before
            ::_exit(1);
        }
    }
    return child;
}

// Ends the child at once: nothing that belongs to its parent is flushed or destroyed. Which lines
// it has reached counts nevertheless.
[[noreturn]] inline void EndChild(int status) {
#ifdef QV_COVERAGE
    __gcov_dump();
#endif
    ::_exit(status);
}

// Waits for the child's end. Returns its exit code, or minus the signal's number when one ended it.
// Throws std::system_error when it is no child.
inline int AwaitChild(pid_t child) {
    int status = 0;
    if (::waitpid(child, &status, 0) != child) {
        throw std::system_error(errno, std::generic_category(), "waitpid");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace NS_TEST
