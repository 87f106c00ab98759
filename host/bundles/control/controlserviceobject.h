// The service object of the control bundle.
#pragma once

#include <memory>

#include "bundlemgr/serviceobjectbase.h"

namespace NS_REFERENCE_HOST {

class ControlServer;

// Takes no arguments and has no interface: its clients use the socket qv_agent.sock in the share
// directory.
//
// The manager stops all services before it removes the first one. So the services that a request
// uses exist until the request has ended.
//
// Thread safety: that of the base: the manager's thread only.
class ControlServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    ControlServiceObject();
    ~ControlServiceObject() override;

    // Makes the socket and serves it. Reports a failure and returns -1.
    int init(int argc, ACE_TCHAR* argv[]) override;

    // Stops serving and removes the socket.
    int StopService() override;

    int fini() override;

  private:
    std::unique_ptr<ControlServer> server_;
};

}  // namespace NS_REFERENCE_HOST
