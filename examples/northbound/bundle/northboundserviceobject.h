// The service object of the northbound bundle.
#pragma once

#include <memory>

#include "bundlemgr/serviceobjectbase.h"

namespace NS_NORTHBOUND {

class NorthboundServer;

// The configuration lists it behind the logging service, so that it stops first and its loggers
// live as long as it does. Arguments of `init`:
//     --reference FILE    where to write the agent's reference ($_APP_SHARE_DIR/northbound.ior)
//     --port N            0, the default: one that is free
//     --alarms N          that come or go in a second (20)
//     --answer-time MS    how long an element takes to answer (0)
//     --answer-limit MS   how long a client may take to answer a call-back (2000)
//     --call-limit MS     how long a call may take to arrive, and its answer to be taken (5000)
//     --details WHAT      kept-back (the default), as-configured, or none: levels 2 and 3
//     --log WHAT          on (the default), or off: nothing is logged, and no service is needed
//
// Thread safety: that of the base: the manager's thread only.
class NorthboundServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    NorthboundServiceObject();
    ~NorthboundServiceObject() override;

    // Starts to serve, and returns while threads of the ORB do so. Reports a failure and returns
    // -1.
    int init(int argc, ACE_TCHAR* argv[]) override;

    // After this no call is served and no client is called.
    int StopService() override;

    int fini() override;

  private:
    std::unique_ptr<NorthboundServer> server_;
};

}  // namespace NS_NORTHBOUND
