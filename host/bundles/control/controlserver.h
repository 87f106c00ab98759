// Serves the control socket on its own thread.
#pragma once

#include <poll.h>

#include <list>
#include <string>
#include <thread>
#include <vector>

#include "common/eventdescriptor.h"
#include "control/connection.h"
#include "control/listeningsocket.h"

namespace NS_REFERENCE_HOST {

// One thread waits for all clients, so a slow client does not delay the others. That thread
// executes the requests one after the other, so they need no locks. While it executes a long one,
// the other clients wait, and their deadlines are extended by that time.
//
// Without memory for a client, or for its answer, that client is dropped and the others are served.
//
// Serves up to kMaximumClients at a time; more wait in the system's queue. Each client has a
// deadline. With the maximum number of clients, the deadlines are ten times shorter, so that
// clients that hang do not keep others out.
//
// Thread safety: the owner's thread only.
class ControlServer {
  public:
    static constexpr std::size_t kMaximumClients = 32;

    // Makes the socket at `path`. Start begins to serve it. Serves only the user of this process
    // and root. Throws what ListeningSocket throws.
    ControlServer(const std::string& path, Answerer answer, Connection::Clock::duration patience);
    ~ControlServer();

    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    void Start();

    // Ends the thread after the request that it executes, and closes all connections.
    void Stop();

  private:
    using Clock = Connection::Clock;

    void Serve();
    bool WaitForEvents();
    int Timeout() const;
    Clock::duration Haste() const;
    bool IsAccepting() const;
    void ServeClients();
    bool Proceed(Connection& client);
    void Accept();
    void Admit(FileDescriptor socket);

    ListeningSocket socket_;
    const Answerer answer_;
    const Clock::duration patience_;
    EventDescriptor stop_;
    std::list<Connection> clients_;    // the thread's
    std::vector<pollfd> entries_;      // the thread's, of fixed capacity: waiting needs no memory
    Clock::time_point acceptAgain_{};  // the thread's: when to look for clients again
    std::thread thread_;
};

}  // namespace NS_REFERENCE_HOST
