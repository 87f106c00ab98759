// The service object of the control bundle.
#pragma once

#include <memory>

#include "bundlemgr/serviceobjectbase.h"

namespace NS_REFERENCE_HOST {

class ControlServer;

// Takes no arguments and offers no interface: whoever wants something of it comes through the
// socket qv_agent.sock in the share directory.
//
// The manager ends all services before it takes the first of them away; so what a request has found
// stays there until the request has been carried out.
//
// Thread safety: as the base says, the manager's thread only.
class ControlServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    ControlServiceObject();
    ~ControlServiceObject() override;

    // Makes the socket and serves it. -1: that is not possible, which is reported.
    int init(int argc, ACE_TCHAR* argv[]) override;

    // Ends the serving and removes the socket.
    int StopService() override;

    int fini() override;

  private:
    std::unique_ptr<ControlServer> server_;
};

}  // namespace NS_REFERENCE_HOST
