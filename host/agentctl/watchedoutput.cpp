// Standard output that ends with a signal or with its reader.
#include "agentctl/watchedoutput.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace NS_REFERENCE_HOST {

namespace {

using Clock = std::chrono::steady_clock;

// What polls as writable takes that much at once, so no write blocks. Signals are blocked and could
// not interrupt it.
constexpr std::string::size_type kPiece = 4096;

// Moves the cursor to the corner and clears the screen from there. Needs no reset at the end.
constexpr char kClear[] = "\x1b[H\x1b[J";

}  // namespace

bool WatchedOutput::Show(const std::string& text) {
    return Write(isatty(STDOUT_FILENO) != 0 ? kClear + text : text);
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
        if (length < 0 && errno != EAGAIN && errno != EINTR) {
            return false;
        }
        written += static_cast<std::string::size_type>(std::max<ssize_t>(length, 0));
    }
    return true;
}

}  // namespace NS_REFERENCE_HOST
