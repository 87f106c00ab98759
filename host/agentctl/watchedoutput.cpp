// Standard output that ends with a signal or with its reader.
#include "agentctl/watchedoutput.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <sstream>
#include <system_error>

#include "agentctl/controlerror.h"
#include "agentctl/terminal.h"

namespace NS_REFERENCE_HOST {

namespace {

using Clock = std::chrono::steady_clock;

// What polls as writable takes that much at once, so no write blocks. Signals are blocked and could
// not interrupt it.
constexpr std::string::size_type kPiece = 4096;

constexpr char kEnter[] = "\x1b[?1049h";
constexpr char kLeave[] = "\x1b[?1049l";

// Writes the lines over those that are there. Each line is cleared before it is written: after a
// line as wide as the terminal, clearing would take its last character. No newline follows the last
// one, which could stand at the bottom of the screen: everything would move up.
std::string Drawing(const std::string& text, std::size_t rows) {
    std::istringstream in(text);
    std::string drawing = "\x1b[H";
    std::size_t row = 0;
    for (std::string line; row < rows && std::getline(in, line); ++row) {
        drawing += (row == 0 ? "\x1b[K" : "\n\x1b[K") + line;
    }
    return drawing + (row < rows ? "\n\x1b[J" : "");
}

}  // namespace

// The terminal may have gone, or take nothing any more; it is not waited for.
WatchedOutput::~WatchedOutput() {
    pollfd entry{STDOUT_FILENO, POLLOUT, 0};
    if (isOnAlternateScreen_ && poll(&entry, 1, 0) == 1 && entry.revents == POLLOUT) {
        static_cast<void>(!write(STDOUT_FILENO, kLeave, sizeof(kLeave) - 1));
    }
}

bool WatchedOutput::Show(const std::string& text) {
    const std::optional<TerminalSize> terminal = OutputTerminalSize();
    if (!terminal) {
        return Write(text);
    }
    const bool enters = !isOnAlternateScreen_;
    isOnAlternateScreen_ = true;
    return Write((enters ? kEnter : "") + Drawing(text, terminal->rows));
}

// No events for the output: poll always reports that the reader has gone.
bool WatchedOutput::Wait(std::chrono::milliseconds time) {
    bool ready = false;
    return WaitFor(0, Clock::now() + time, ready);
}

bool WatchedOutput::WaitFor(short events, Clock::time_point deadline, bool& ready) {
    constexpr short kGone = POLLERR | POLLHUP | POLLNVAL;
    for (;;) {
        pollfd entries[] = {{signals_.Descriptor(), POLLIN, 0}, {STDOUT_FILENO, events, 0}};
        int timeout = -1;
        if (deadline != Clock::time_point::max()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            timeout = static_cast<int>(std::max<int64_t>(left.count(), 0));
        }
        const int count = poll(entries, 2, timeout);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        ready = (entries[1].revents & events) != 0;
        return count >= 0 && entries[0].revents == 0 && (entries[1].revents & kGone) == 0;
    }
}

bool WatchedOutput::Write(const std::string& text) {
    for (std::string::size_type written = 0; written < text.size();) {
        bool ready = false;
        if (!WaitFor(POLLOUT, Clock::time_point::max(), ready)) {
            return false;
        }
        const ssize_t length = ready ? write(STDOUT_FILENO, text.data() + written,
                                             std::min(text.size() - written, kPiece))
                                     : 0;
        if (length < 0 && errno == EPIPE) {
            return false;
        }
        if (length < 0 && errno != EAGAIN && errno != EINTR) {
            throw ControlError(ControlExit::Refused, "the output could not be written: " +
                                                         std::generic_category().message(errno));
        }
        written += static_cast<std::string::size_type>(std::max<ssize_t>(length, 0));
    }
    return true;
}

}  // namespace NS_REFERENCE_HOST
