// One client of the control socket.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "control/filedescriptor.h"

namespace NS_REFERENCE_HOST {

// Makes the answer to a request; both without their newlines. Does not throw.
using Answerer = std::function<std::string(const std::string& request)>;

// Reads one request, has it answered and sends the answer; never waits.
//
// Thread safety: one thread.
class Connection {
  public:
    using Clock = std::chrono::steady_clock;

    // A connected, non-blocking socket. Within `patience` the client has to send its request, and
    // within the same time again to take the answer.
    Connection(FileDescriptor socket, Clock::duration patience);

    int Descriptor() const noexcept { return socket_.Get(); }

    // What to poll for.
    short Events() const noexcept;

    // When to give the client up.
    Clock::time_point Deadline() const noexcept { return deadline_; }

    // Gives the client more time.
    void Extend(Clock::duration time) noexcept { deadline_ += time; }

    // Goes on as far as the socket allows. False: the connection is at its end.
    bool Proceed(const Answerer& answer);

    // Answers with `text` whatever the client wanted.
    void Refuse(const std::string& text);

  private:
    enum class Reading { Waits, HasLine, TooLong, Ended, Failed };

    Reading Read();
    bool Write();
    void SetAnswer(const std::string& text);

    FileDescriptor socket_;
    const Clock::duration patience_;
    Clock::time_point deadline_;
    bool answered_ = false;
    std::string buffer_;       // the request as far as it came, then the answer
    std::size_t written_ = 0;  // of the answer
};

}  // namespace NS_REFERENCE_HOST
