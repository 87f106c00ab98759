// Serves the control socket on its own thread.
#include "control/controlserver.h"

#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include "common/report.h"
#include "control/peer.h"

namespace NS_REFERENCE_HOST {

namespace {

constexpr char kName[] = "qv_control";

// How long to accept no clients when the process has no free descriptor.
constexpr std::chrono::milliseconds kAcceptPause{200};

// The deadlines are shorter by this factor while no more clients can be accepted.
constexpr int kHaste = 10;

// The entries before the clients' in the list for poll.
enum : std::size_t { kStopEntry, kSocketEntry, kFirstClientEntry };

}  // namespace

ControlServer::ControlServer(const std::string& path, Answerer answer,
                             Connection::Clock::duration patience)
    : socket_(path), answer_(std::move(answer)), patience_(patience) {
    entries_.reserve(kFirstClientEntry + kMaximumClients);
}

ControlServer::~ControlServer() {
    Stop();
}

void ControlServer::Start() {
    thread_ = std::thread([this] { Serve(); });
}

void ControlServer::Stop() {
    stop_.Signal();
    if (thread_.joinable()) {
        thread_.join();
    }
    clients_.clear();
}

void ControlServer::Serve() {
    pthread_setname_np(pthread_self(), kName);
    while (WaitForEvents()) {
        const Clock::time_point begin = Clock::now();
        ServeClients();
        const Clock::time_point late = begin + Haste();
        clients_.remove_if([late](const Connection& client) { return client.Deadline() <= late; });
        const Clock::duration spent = Clock::now() - begin;
        for (Connection& client : clients_) {
            client.Extend(spent);
        }
        if ((entries_[kSocketEntry].revents & POLLIN) != 0) {
            Accept();
        }
    }
}

// Returns by how much the deadlines are shortened now.
ControlServer::Clock::duration ControlServer::Haste() const {
    const bool isFull = clients_.size() >= kMaximumClients;
    return isFull ? patience_ - patience_ / kHaste : Clock::duration::zero();
}

bool ControlServer::IsAccepting() const {
    return clients_.size() < kMaximumClients && Clock::now() >= acceptAgain_;
}

int ControlServer::Timeout() const {
    const Clock::time_point now = Clock::now();
    Clock::time_point next = Clock::time_point::max();
    if (acceptAgain_ > now) {
        next = acceptAgain_;
    }
    const Clock::duration haste = Haste();
    for (const Connection& client : clients_) {
        next = std::min(next, client.Deadline() - haste);
    }
    if (next == Clock::time_point::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

// Fills `entries_` and waits. Returns false when the server is to end.
bool ControlServer::WaitForEvents() {
    entries_.clear();
    entries_.push_back({stop_.Descriptor(), POLLIN, 0});
    // poll ignores a negative descriptor.
    entries_.push_back({IsAccepting() ? socket_.Descriptor() : -1, POLLIN, 0});
    for (const Connection& client : clients_) {
        entries_.push_back({client.Descriptor(), client.Events(), 0});
    }
    while (poll(entries_.data(), entries_.size(), Timeout()) < 0) {
        const int error = errno;
        if (error != EINTR) {
            ReportIfPossible(kName,
                             [error] { return "poll: " + std::generic_category().message(error); });
            return false;
        }
    }
    return entries_[kStopEntry].revents == 0;
}

void ControlServer::ServeClients() {
    auto entry = entries_.cbegin() + kFirstClientEntry;
    for (auto client = clients_.begin(); client != clients_.end(); ++entry) {
        const bool goesOn = entry->revents == 0 || stop_.IsSignalled() || Proceed(*client);
        client = goesOn ? std::next(client) : clients_.erase(client);
    }
}

// Returns false when the connection has ended.
bool ControlServer::Proceed(Connection& client) {
    try {
        return client.Proceed(answer_);
    } catch (const std::exception& error) {
        ReportIfPossible(
            kName, [&error] { return std::string("a client was given up: ") + error.what(); });
        return false;
    }
}

void ControlServer::Accept() {
    while (clients_.size() < kMaximumClients) {
        FileDescriptor socket(
            accept4(socket_.Descriptor(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (socket.IsOpen()) {
            Admit(std::move(socket));
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR && errno != ECONNABORTED) {
            acceptAgain_ = Clock::now() + kAcceptPause;
            return;
        }
    }
}

void ControlServer::Admit(FileDescriptor socket) {
    try {
        const uid_t peer = GetPeer(socket.Get());
        clients_.emplace_back(std::move(socket), patience_);
        if (!IsPermittedPeer(peer, geteuid())) {
            Report(kName, "refused user " + std::to_string(peer));
            clients_.back().Refuse("only the agent's own user and root may control it");
        }
    } catch (const std::exception& error) {
        ReportIfPossible(
            kName, [&error] { return std::string("a client was turned away: ") + error.what(); });
    }
}

}  // namespace NS_REFERENCE_HOST
