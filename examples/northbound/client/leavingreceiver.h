// A client that goes while the agent makes its subscription.
#pragma once

#include "northbound.hh"

namespace NS_NORTHBOUND {

// Closes its session when the agent tries it, as a client may that is being stopped. Counted: make
// it with `new`.
//
// Thread safety: any thread may call any operation.
class LeavingReceiver : public POA_Northbound::AlarmReceiver {
  public:
    LeavingReceiver(Northbound::Agent_ptr agent, CORBA::ULong session)
        : agent_(Northbound::Agent::_duplicate(agent)), session_(session) {}

    void ping() override { agent_->closeSession(session_); }
    void alarmsChanged(const Northbound::AlarmSeq&) override {}

  private:
    const Northbound::Agent_var agent_;
    const CORBA::ULong session_;
};

}  // namespace NS_NORTHBOUND
