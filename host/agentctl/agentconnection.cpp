// Asks the agent.
#include "agentctl/agentconnection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "agentctl/controlerror.h"
#include "control/filedescriptor.h"
#include "control/protocol.h"
#include "control/socketaddress.h"

namespace NS_REFERENCE_HOST {

namespace {

using Clock = std::chrono::steady_clock;

// Far above what an agent with some hundred thousand loggers says.
constexpr std::string::size_type kMaximumAnswer = std::string::size_type{256} * 1024 * 1024;

std::string LastError() {
    return std::generic_category().message(errno);
}

std::chrono::milliseconds Left(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return std::max(left, std::chrono::milliseconds::zero());
}

[[noreturn]] void FailLate() {
    throw ControlError(ControlExit::NoAnswer, "the agent did not answer in time");
}

// While the agent's queue of connections is full, connect waits, for as long as sending may take.
void LimitSending(int socket, std::chrono::milliseconds timeout) {
    timeval limit{};
    limit.tv_sec = timeout.count() / 1000;
    limit.tv_usec = (timeout.count() % 1000) * 1000;
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
}

FileDescriptor Connect(const std::string& path, std::chrono::milliseconds timeout) {
    FileDescriptor connected(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!connected.IsOpen()) {
        throw ControlError(ControlExit::NoAgent, "no socket: " + LastError());
    }
    LimitSending(connected.Get(), timeout);
    try {
        const SocketAddress address(path);
        if (connect(connected.Get(), address.Get(), address.GetSize()) == 0) {
            return connected;
        }
    } catch (const std::system_error& error) {
        throw ControlError(ControlExit::NoAgent,
                           std::string("no agent can be reached: ") + error.what());
    }
    if (errno == EAGAIN) {
        FailLate();
    }
    throw ControlError(ControlExit::NoAgent,
                       "no agent can be reached at " + path + ": " + LastError());
}

void WaitFor(int socket, short events, Clock::time_point deadline) {
    pollfd entry{socket, events, 0};
    int ready = 0;
    do {
        ready = poll(&entry, 1, static_cast<int>(Left(deadline).count()));
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0) {
        FailLate();
    }
}

// Stops when the agent takes no more: it may have answered already, and says why then.
void Send(int socket, const std::string& line, Clock::time_point deadline) {
    for (std::string::size_type sent = 0; sent < line.size();) {
        WaitFor(socket, POLLOUT, deadline);
        const ssize_t length =
            send(socket, line.data() + sent, line.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (length >= 0) {
            sent += static_cast<std::string::size_type>(length);
        } else if (errno != EAGAIN && errno != EINTR) {
            return;
        }
    }
}

std::string Receive(int socket, Clock::time_point deadline) {
    std::string answer;
    char chunk[65536];
    while (answer.size() < kMaximumAnswer) {
        WaitFor(socket, POLLIN, deadline);
        const ssize_t length = recv(socket, chunk, sizeof(chunk), MSG_DONTWAIT);
        if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
            continue;
        }
        if (length <= 0) {
            throw ControlError(ControlExit::NoAnswer, "the agent broke off in its answer");
        }
        const char* const end = std::find(chunk, chunk + length, '\n');
        answer.append(chunk, static_cast<std::string::size_type>(end - chunk));
        if (end != chunk + length) {
            return answer;
        }
    }
    throw ControlError(ControlExit::NoAnswer, "the agent's answer has no end");
}

}  // namespace

std::string Ask(const std::string& path, const std::string& request,
                std::chrono::milliseconds timeout) {
    const Clock::time_point deadline = Clock::now() + timeout;
    const std::string line = request + "\n";
    if (line.size() > kMaximumRequest) {
        throw ControlError(ControlExit::BadCommandLine, "the names are too long for a request");
    }
    const FileDescriptor socket = Connect(path, timeout);
    Send(socket.Get(), line, deadline);
    return Receive(socket.Get(), deadline);
}

}  // namespace NS_REFERENCE_HOST
