// Serves the control socket on a thread of its own.
#pragma once

#include <list>
#include <string>
#include <thread>
#include <vector>

#include "common/eventdescriptor.h"
#include "control/connection.h"
#include "control/listeningsocket.h"

struct pollfd;

namespace NS_REFERENCE_HOST {

// One thread waits for all clients, so that none of them can hold up another one by being slow. The
// requests are carried out on that thread, one after the other, so they need no locks among each
// other. While a long one is at work, the other clients wait for their turn; the time that it takes
// is not counted against them.
//
// Up to kMaximumClients are served at a time; more wait in the system's queue. Each client has a
// deadline, which comes ten times as soon while all places are taken: those who hang must not keep
// the others out.
//
// Thread safety: the owner's thread only.
class ControlServer {
  public:
    static constexpr std::size_t kMaximumClients = 32;

    // Makes the socket at `path`; the serving starts with Start. Of the users only the one that
    // the process runs as, and root, are served. Throws what ListeningSocket throws.
    ControlServer(const std::string& path, Answerer answer, Connection::Clock::duration patience);
    ~ControlServer();

    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    void Start();

    // Ends the thread, after the request that it carries out, and drops the clients.
    void Stop();

  private:
    using Clock = Connection::Clock;

    void Serve();
    bool WaitForEvents(std::vector<pollfd>& entries) const;
    int Timeout() const;
    Clock::duration Haste() const;
    bool IsAccepting() const;
    void ServeClients(const std::vector<pollfd>& entries);
    bool Proceed(Connection& client);
    void Accept();
    void Admit(FileDescriptor socket);

    ListeningSocket socket_;
    const Answerer answer_;
    const Clock::duration patience_;
    EventDescriptor stop_;
    std::list<Connection> clients_;    // the thread's
    Clock::time_point acceptAgain_{};  // the thread's: when to look for clients again
    std::thread thread_;
};

}  // namespace NS_REFERENCE_HOST
