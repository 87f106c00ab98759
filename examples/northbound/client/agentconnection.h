// A client's way to the agent.
#pragma once

#include <string>

#include "northbound.hh"

namespace NS_NORTHBOUND {

// The client's ORB. It serves call-backs on 127.0.0.1 only.
//
// Thread safety: any thread may use what it gives out.
class AgentConnection {
  public:
    // `reference` is the file that the agent wrote; so many calls can be made at a time. Throws
    // std::runtime_error when there is no such file or nothing useful in it, and what the ORB
    // throws.
    AgentConnection(const std::string& reference, unsigned int calls);
    ~AgentConnection();

    AgentConnection(const AgentConnection&) = delete;
    AgentConnection& operator=(const AgentConnection&) = delete;

    Northbound::Agent_ptr Agent() const { return agent_.in(); }

    // Makes `receiver` known, so that the agent can call it.
    Northbound::AlarmReceiver_var Serve(POA_Northbound::AlarmReceiver& receiver);

  private:
    CORBA::ORB_var orb_;
    PortableServer::POA_var poa_;
    Northbound::Agent_var agent_;
};

}  // namespace NS_NORTHBOUND
