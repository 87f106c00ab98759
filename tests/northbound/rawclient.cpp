// A client that sends and takes exactly what a test tells it to.
#include "northbound/rawclient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace NS_TEST {

namespace {

constexpr std::size_t kHeaderSize = 12;

// Reads what is marshalled in this machine's byte order, behind the octet that tells the order.
class Reader {
  public:
    explicit Reader(std::string bytes) : bytes_(std::move(bytes)) {}

    void Skip(std::size_t size) { at_ += size; }

    template <class Number>
    Number Take() {
        Number number = 0;
        at_ = (at_ + sizeof number - 1) / sizeof number * sizeof number;
        std::memcpy(&number, bytes_.substr(at_).c_str(), sizeof number);
        at_ += sizeof number;
        return number;
    }

    std::string TakeOctets() {
        const auto size = Take<uint32_t>();
        at_ += size;
        return bytes_.substr(at_ - size, size);
    }

  private:
    const std::string bytes_;
    std::size_t at_ = 1;
};

std::string FromHexadecimal(const std::string& text) {
    std::string bytes;
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        bytes += static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16));
    }
    return bytes;
}

// The first profile of a reference: where the object is, and its key.
Reader FirstProfile(const std::string& reference) {
    Reader reader(FromHexadecimal(reference.substr(4, reference.find('\n') - 4)));
    reader.TakeOctets();      // the type
    reader.Take<uint32_t>();  // how many profiles
    reader.Take<uint32_t>();  // the kind of the first one
    return Reader(reader.TakeOctets());
}

std::string Padded(std::string bytes) {
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}

std::string WithSize(const std::string& bytes) {
    return Marshalled(static_cast<uint32_t>(bytes.size())) + Padded(bytes);
}

}  // namespace

std::string Marshalled(uint32_t number) {
    std::string bytes(sizeof number, '\0');
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

std::string Marshalled(const std::string& text) {
    return WithSize(text + '\0');
}

RawClient::RawClient(const std::string& reference)
    : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    Reader profile = FirstProfile(reference);
    profile.Skip(2);  // the version
    sockaddr_in address{};
    address.sin_family = AF_INET;
    const std::string host = profile.TakeOctets();
    address.sin_port = htons(profile.Take<uint16_t>());
    key_ = profile.TakeOctets();
    if (inet_pton(AF_INET, host.c_str(), &address.sin_addr) != 1 ||
        connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(socket_);
        throw std::system_error(errno, std::generic_category(), host);
    }
}

RawClient::~RawClient() {
    close(socket_);
}

std::string RawClient::Request(const std::string& operation, const std::string& arguments) const {
    const std::string body = Marshalled(0) +                           // no contexts
                             Marshalled(1) +                           // the call's number
                             Padded("\1") +                            // an answer is expected
                             WithSize(key_) + Marshalled(operation) +  //
                             Marshalled(0) + arguments;                // no principal
    const uint16_t order = 1;
    std::string header("GIOP\1\0", 6);
    header.append(reinterpret_cast<const char*>(&order), 1);
    header += '\0';  // a call
    return header + Marshalled(static_cast<uint32_t>(body.size())) + body;
}

void RawClient::Send(const std::string& bytes) const {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t size = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size < 0) {
            throw std::system_error(errno, std::generic_category(), "send");
        }
        sent += static_cast<std::size_t>(size);
    }
}

void RawClient::SendWhatFits(const std::string& bytes) const {
    pollfd entry{socket_, POLLOUT, 0};
    for (std::size_t sent = 0; sent < bytes.size() && poll(&entry, 1, 500) == 1;) {
        const ssize_t size =
            send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size <= 0) {
            return;
        }
        sent += static_cast<std::size_t>(size);
    }
}

std::string RawClient::ReceiveExactly(std::size_t size) const {
    std::string bytes(size, '\0');
    if (recv(socket_, bytes.data(), size, MSG_WAITALL) != static_cast<ssize_t>(size)) {
        throw std::runtime_error("the agent's answer breaks off");
    }
    return bytes;
}

uint32_t RawClient::ReceiveNumber() const {
    uint32_t number = 0;
    const std::string header = ReceiveExactly(kHeaderSize);
    std::memcpy(&number, header.data() + kHeaderSize - sizeof number, sizeof number);
    const std::string body = ReceiveExactly(number);
    std::memcpy(&number, body.substr(body.size() - sizeof number).data(), sizeof number);
    return number;
}

bool RawClient::AwaitHangUp() const {
    char byte = 0;
    return recv(socket_, &byte, 1, 0) <= 0;
}

}  // namespace NS_TEST
