#include "command/pager.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

#include "query/badrequest.h"

namespace NS_LOG_READER {
namespace {

bool IsSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

// An empty variable, or "cat", asks for none.
std::string ChoosePager() {
    const char* const variable = std::getenv("PAGER");
    const std::string pager = variable == nullptr ? "less" : variable;
    return pager == "cat" ? "" : pager;
}

constexpr std::array<int, 2> kInterrupts = {SIGINT, SIGQUIT};

// Interrupts wait as long as it lives, also those of a child process.
class HeldInterrupts {
  public:
    HeldInterrupts() {
        sigset_t interrupts;
        ::sigemptyset(&interrupts);
        for (const int interrupt : kInterrupts) {
            ::sigaddset(&interrupts, interrupt);
        }
        ::pthread_sigmask(SIG_BLOCK, &interrupts, &callers_);
    }
    ~HeldInterrupts() { Release(); }

    HeldInterrupts(const HeldInterrupts&) = delete;
    HeldInterrupts& operator=(const HeldInterrupts&) = delete;

    void Release() const { ::pthread_sigmask(SIG_SETMASK, &callers_, nullptr); }

  private:
    sigset_t callers_;
};

// What is blocked or ignored would stay so.
[[noreturn]] void BecomePager(const std::string& pager, int input, const HeldInterrupts& held) {
    held.Release();
    ::signal(SIGPIPE, SIG_DFL);
    ::dup2(input, STDIN_FILENO);
    // Quits at once when all fits on the screen, passes colours on, leaves the screen as it is.
    ::setenv("LESS", "FRX", 0);
    ::execl("/bin/sh", "sh", "-c", pager.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
}

void AwaitEnd(pid_t process) {
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
}

// Set before the handler is.
pid_t runningPager = -1;

// The keys that interrupt are meant for the pager, which still has the terminal: the shell must not
// take it back before the pager ends. No more is read meanwhile.
void EndAfterPager(int signal) {
    ::close(STDOUT_FILENO);
    AwaitEnd(runningPager);
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

bool IsThere(const std::string& pager) {
    const std::string command =
        "command -v " + pager.substr(0, pager.find(' ')) + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;  // NOLINT: the user's own pager
}

}  // namespace

Pager::Pager(bool isWanted) {
    if (!isWanted || ::isatty(STDOUT_FILENO) == 0) {
        return;
    }
    const std::string pager = ChoosePager();
    int ends[2];
    if (pager.empty() || !IsThere(pager) || ::pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    const HeldInterrupts held;  // until the handler has all that it needs
    process_ = ::fork();
    if (process_ == 0) {
        BecomePager(pager, ends[0], held);
    }
    ::close(ends[0]);
    if (process_ > 0) {
        ::dup2(ends[1], STDOUT_FILENO);
        runningPager = process_;
        for (const int interrupt : kInterrupts) {
            ::signal(interrupt, &EndAfterPager);
        }
    }
    ::close(ends[1]);
}

Pager::~Pager() {
    if (process_ <= 0) {
        return;
    }
    ::close(STDOUT_FILENO);
    AwaitEnd(process_);
    for (const int interrupt : kInterrupts) {
        ::signal(interrupt, SIG_DFL);
    }
}

bool WantsColour(const char* when) {
    const std::string_view wanted = when;
    if (wanted != "auto" && wanted != "always" && wanted != "never") {
        throw BadRequest("--color: auto, always or never");
    }
    const char* const terminal = std::getenv("TERM");
    const bool isDumb = terminal == nullptr || std::string_view(terminal) == "dumb";
    return wanted == "always" ||
           (wanted == "auto" && ::isatty(STDOUT_FILENO) != 0 && !IsSet("NO_COLOR") && !isDumb);
}

}  // namespace NS_LOG_READER
