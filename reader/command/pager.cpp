#include "command/pager.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <string_view>

#include "query/pattern.h"

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

[[noreturn]] void BecomePager(const std::string& pager, int input) {
    std::signal(SIGPIPE, SIG_DFL);  // an ignored signal would stay ignored
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
void EndBehindPager(int signal) {
    ::close(STDOUT_FILENO);
    AwaitEnd(runningPager);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

constexpr std::array<int, 2> kInterrupts = {SIGINT, SIGQUIT};

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
    process_ = ::fork();
    if (process_ == 0) {
        BecomePager(pager, ends[0]);
    }
    ::close(ends[0]);
    if (process_ > 0) {
        ::dup2(ends[1], STDOUT_FILENO);
        runningPager = process_;
        for (const int interrupt : kInterrupts) {
            std::signal(interrupt, &EndBehindPager);
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
        std::signal(interrupt, SIG_DFL);
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
