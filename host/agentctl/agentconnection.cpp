// Asks the agent.
#include "agentctl/agentconnection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "agentctl/controlerror.h"
#include "control/filedescriptor.h"
#include "control/protocol.h"
#include "control/socketaddress.h"

namespace NS_REFERENCE_HOST {

namespace {

using Clock = std::chrono::steady_clock;

// Much more than the answer of an agent with some hundred thousand loggers.
constexpr std::string::size_type kMaximumAnswer = std::string::size_type{256} * 1024 * 1024;

std::string LastError() {
    return std::generic_category().message(errno);
}

[[noreturn]] void FailLate() {
    throw ControlError(ControlExit::NoAnswer, "the agent did not answer in time");
}

// Thrown when the stop descriptor becomes readable. Caught in this file.
struct Unwanted {};

// A connection for one request, with a deadline.
//
// Thread safety: one thread.
class Conversation {
  public:
    explicit Conversation(const Patience& patience)
        : stopDescriptor_(patience.stopDescriptor), deadline_(Clock::now() + patience.timeout) {}

    void Connect(const std::string& path);
    void Send(const std::string& line);
    std::string Receive();

  private:
    void WaitFor(short events);
    bool Wait(short events, std::chrono::milliseconds time);

    const int stopDescriptor_;
    const Clock::time_point deadline_;
    FileDescriptor socket_{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
};

// Returns whether the socket became ready in that time. Without events, only waits.
bool Conversation::Wait(short events, std::chrono::milliseconds time) {
    pollfd entries[] = {{stopDescriptor_, POLLIN, 0},
                        {events != 0 ? socket_.Get() : -1, events, 0}};
    const int ready = poll(entries, 2, static_cast<int>(std::max<int64_t>(time.count(), 0)));
    if (ready > 0 && entries[0].revents != 0) {
        throw Unwanted();
    }
    return ready > 0;
}

void Conversation::WaitFor(short events) {
    bool ready = false;
    while (!ready) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
        ready = Wait(events, left);
        if (!ready && left.count() <= 0) {
            FailLate();
        }
    }
}

// Tries again and again while the agent's queue of connections is full: no event tells when there
// is room.
void Conversation::Connect(const std::string& path) {
    constexpr std::chrono::milliseconds kPause{10};
    if (!socket_.IsOpen()) {
        throw ControlError(ControlExit::NoAgent, "no socket: " + LastError());
    }
    try {
        const SocketAddress address(path);
        while (connect(socket_.Get(), address.Get(), address.Size()) != 0) {
            if (errno != EAGAIN) {
                throw ControlError(ControlExit::NoAgent,
                                   "no agent can be reached at " + path + ": " + LastError());
            }
            Wait(0, kPause);
            if (Clock::now() >= deadline_) {
                FailLate();
            }
        }
    } catch (const std::system_error& error) {
        throw ControlError(ControlExit::NoAgent,
                           std::string("no agent can be reached: ") + error.what());
    }
}

// Stops when the agent reads no more: its answer may have come already and says why.
void Conversation::Send(const std::string& line) {
    for (std::string::size_type sent = 0; sent < line.size();) {
        WaitFor(POLLOUT);
        const ssize_t length =
            send(socket_.Get(), line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (length >= 0) {
            sent += static_cast<std::string::size_type>(length);
        } else if (errno != EAGAIN && errno != EINTR) {
            return;
        }
    }
}

std::string Conversation::Receive() {
    std::string answer;
    char chunk[65536];
    while (answer.size() < kMaximumAnswer) {
        WaitFor(POLLIN);
        const ssize_t length = recv(socket_.Get(), chunk, sizeof(chunk), 0);
        if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
            continue;
        }
        if (length <= 0) {
            throw ControlError(ControlExit::NoAnswer, "the agent broke off in its answer");
        }
        const std::string_view piece(chunk, static_cast<std::string_view::size_type>(length));
        const auto end = piece.find('\n');
        answer.append(piece, 0, end);
        if (end != std::string_view::npos) {
            return answer;
        }
    }
    throw ControlError(ControlExit::NoAnswer, "the agent's answer has no end");
}

}  // namespace

std::optional<std::string> Ask(const std::string& path, const std::string& request,
                               const Patience& patience) {
    const std::string line = request + "\n";
    if (line.size() > kMaximumRequest) {
        throw ControlError(ControlExit::BadCommandLine, "the names are too long for a request");
    }
    try {
        Conversation conversation(patience);
        conversation.Connect(path);
        conversation.Send(line);
        return conversation.Receive();
    } catch (const Unwanted&) {
        return std::nullopt;
    }
}

}  // namespace NS_REFERENCE_HOST
