// A client that sends and takes exactly what a test tells it to.
#pragma once

#include <cstdint>
#include <string>

namespace NS_TEST {

// One connection to the agent, and calls as they go over it, in version 1.0 of the protocol and in
// this machine's byte order.
//
// Thread safety: one thread.
class RawClient {
  public:
    // Connects to where `reference` leads: the text of an object reference. Throws std::exception.
    explicit RawClient(const std::string& reference);
    ~RawClient();

    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    // A call of the object. `arguments` are numbers and texts, see below.
    std::string Request(const std::string& operation, const std::string& arguments) const;

    // Waits until the agent has taken or buffered all of it.
    void Send(const std::string& bytes) const;

    // Sends as much as the agent takes before it is silent for a while.
    void SendWhatFits(const std::string& bytes) const;

    // The last number in the answer to one call.
    uint32_t ReceiveNumber() const;

    // Waits until the agent ends the connection; false when it sends something before.
    bool AwaitHangUp() const;

  private:
    std::string ReceiveExactly(std::size_t size) const;

    std::string key_;  // the object's
    int socket_;
};

// Arguments, each filled up to a multiple of four bytes. The agent refuses a call in which the last
// one had to be filled up.
std::string Marshalled(uint32_t number);
std::string Marshalled(const std::string& text);

}  // namespace NS_TEST
