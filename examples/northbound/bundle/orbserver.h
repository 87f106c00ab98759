// The ORB from its start to its end.
#pragma once

#include <memory>
#include <string>

#include "bundle/calleraddress.h"
#include "northbound.hh"

namespace NS_NORTHBOUND {

// Serves one object at an end point of this machine only: 127.0.0.1. Each connection has a thread
// of its own, which the ORB starts.
//
// Thread safety: one thread.
class OrbServer {
  public:
    // Port 0: one that is free. A call that does not arrive, or an answer that is not taken, within
    // `callLimit` milliseconds or so costs the client its connection. A call of which less than
    // 8 KiB has come has not begun to arrive for the ORB. Throws std::runtime_error, or what the
    // ORB throws, when there is no such port.
    OrbServer(unsigned int port, unsigned int callLimit);

    ~OrbServer() { Stop(); }

    OrbServer(const OrbServer&) = delete;
    OrbServer& operator=(const OrbServer&) = delete;

    // Serves `servant`, which is counted, from now on. Returns where clients find it, as text.
    std::string Serve(PortableServer::ServantBase& servant);

    // Waits for the calls that are being served, and so for their limit; no other comes in.
    // Afterwards the ORB is gone. What the ORB objects to is reported. May be called again.
    void Stop() noexcept;

  private:
    void EndOrb();

    CORBA::ORB_var orb_;
    PortableServer::POA_var poa_;
    std::unique_ptr<CallerAddressRecording> addresses_;
};

}  // namespace NS_NORTHBOUND
