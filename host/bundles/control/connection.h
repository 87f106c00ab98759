// One client of the control socket.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "control/filedescriptor.h"

namespace NS_REFERENCE_HOST {

// Returns the answer to a request. Both are without their newlines. Does not throw.
using Answerer = std::function<std::string(const std::string& request)>;

// Reads one request, has it answered and sends the answer. Never blocks.
//
// Thread safety: one thread.
class Connection {
  public:
    using Clock = std::chrono::steady_clock;

    // `socket` is connected and non-blocking. The client must send its request within `patience`,
    // and must read the answer within the same time again.
    Connection(FileDescriptor socket, Clock::duration patience);

    int Descriptor() const noexcept { return socket_.Get(); }

    // The events to poll for.
    short Events() const noexcept;

    // The time at which to close the connection.
    Clock::time_point Deadline() const noexcept { return deadline_; }

    // Gives the client more time.
    void Extend(Clock::duration time) noexcept { deadline_ += time; }

    // Continues as far as possible without blocking. Returns false when the connection has ended.
    bool Proceed(const Answerer& answer);

    // Answers with `text` whatever the request is.
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
