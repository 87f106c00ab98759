// One client of the control socket.
#include "control/connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "control/answer.h"
#include "control/protocol.h"

namespace NS_REFERENCE_HOST {

Connection::Connection(FileDescriptor socket, Clock::duration patience)
    : socket_(std::move(socket)), patience_(patience), deadline_(Clock::now() + patience) {}

short Connection::Events() const noexcept {
    return answered_ ? POLLOUT : POLLIN;
}

bool Connection::Proceed(const Answerer& answer) {
    if (!answered_) {
        switch (Read()) {
            case Reading::Waits:
                return true;
            case Reading::HasLine:
                SetAnswer(answer(buffer_));
                break;
            case Reading::TooLong:
                Refuse("the request is longer than " + std::to_string(kMaximumRequest) + " bytes");
                break;
            case Reading::Ended:
                Refuse("the request does not end with a newline");
                break;
            case Reading::Failed:
                return false;
        }
    }
    return Write();
}

void Connection::Refuse(const std::string& text) {
    SetAnswer(MakeFailure(text));
}

void Connection::SetAnswer(const std::string& text) {
    buffer_ = text + "\n";
    answered_ = true;
    deadline_ = Clock::now() + patience_;
}

Connection::Reading Connection::Read() {
    char chunk[kMaximumRequest];
    const ssize_t length = recv(socket_.Get(), chunk, sizeof(chunk) - buffer_.size(), 0);
    if (length == 0) {
        return buffer_.empty() ? Reading::Failed : Reading::Ended;
    }
    if (length < 0) {
        return errno == EAGAIN || errno == EINTR ? Reading::Waits : Reading::Failed;
    }
    buffer_.append(chunk, static_cast<std::size_t>(length));
    const std::string::size_type end = buffer_.find('\n');
    if (end != std::string::npos) {
        buffer_.resize(end);
        return Reading::HasLine;
    }
    return buffer_.size() < kMaximumRequest ? Reading::Waits : Reading::TooLong;
}

bool Connection::Write() {
    const ssize_t length =
        send(socket_.Get(), buffer_.data() + written_, buffer_.size() - written_, MSG_NOSIGNAL);
    if (length < 0) {
        return errno == EAGAIN || errno == EINTR;
    }
    written_ += static_cast<std::size_t>(length);
    return written_ < buffer_.size();
}

}  // namespace NS_REFERENCE_HOST
