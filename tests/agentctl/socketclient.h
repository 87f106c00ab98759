// A client of the control socket that may behave as badly as it likes.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>

#include "agentctl/tasks.h"
#include "control/filedescriptor.h"
#include "control/socketaddress.h"

namespace NS_TEST {

// Thread safety: one thread.
class SocketClient {
  public:
    // Throws std::system_error when nobody listens at `path`.
    explicit SocketClient(const std::string& path)
        : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const NS_REFERENCE_HOST::SocketAddress address(path);
        if (connect(socket_.Get(), address.Get(), address.Size()) != 0) {
            throw std::system_error(errno, std::generic_category(), path);
        }
    }

    // Sends what the other end takes.
    void Send(const std::string& text) {
        send(socket_.Get(), text.data(), text.size(), MSG_NOSIGNAL);
    }

    void EndSending() { shutdown(socket_.Get(), SHUT_WR); }

    // At most `size` bytes, as soon as there are any; none at the end.
    std::string ReceiveSome(std::string::size_type size) {
        std::string text(size, '\0');
        const ssize_t length = recv(socket_.Get(), text.data(), text.size(), 0);
        text.resize(length > 0 ? static_cast<std::string::size_type>(length) : 0);
        return text;
    }

    // Everything until the other end closes.
    std::string ReceiveAll() {
        std::string all;
        for (std::string some = ReceiveSome(65536); !some.empty(); some = ReceiveSome(65536)) {
            all += some;
        }
        return all;
    }

    // Whether the server ends the connection before the patience is at its end. Takes nothing of
    // what it has sent.
    bool AwaitHangUp() const {
        pollfd entry{socket_.Get(), POLLRDHUP, 0};
        constexpr std::chrono::milliseconds kLongest = kPatience;
        return poll(&entry, 1, static_cast<int>(kLongest.count())) == 1;
    }

  private:
    NS_REFERENCE_HOST::FileDescriptor socket_;
};

// A socket that nobody listens to: what an agent leaves that has been killed.
inline NS_REFERENCE_HOST::FileDescriptor BoundSocket(const std::string& path) {
    NS_REFERENCE_HOST::FileDescriptor bound(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const NS_REFERENCE_HOST::SocketAddress address(path);
    EXPECT_EQ(bind(bound.Get(), address.Get(), address.Size()), 0);
    return bound;
}

// One whose queue of connections is the shortest; nobody takes any of them.
inline NS_REFERENCE_HOST::FileDescriptor ListeningTo(const std::string& path) {
    NS_REFERENCE_HOST::FileDescriptor bound = BoundSocket(path);
    EXPECT_EQ(listen(bound.Get(), 0), 0);
    return bound;
}

// One request by a client that behaves.
inline std::string AskServer(const std::string& path, const std::string& request) {
    SocketClient client(path);
    client.Send(request + "\n");
    return client.ReceiveAll();
}

}  // namespace NS_TEST
