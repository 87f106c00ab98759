// The service object of the schedule bundle.
#pragma once

#include "bundlemgr/serviceobjectbase.h"

namespace NS_REFERENCE_HOST {

class ScheduleService;

// Takes no arguments. Listed in front of the bundles that use it, it is there before them and goes
// after them; listed elsewhere it does no harm.
//
// Thread safety: as the base says, the manager's thread only.
class ScheduleServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    ScheduleServiceObject();
    ~ScheduleServiceObject() override;

    // Starts the service and registers it. -1: there was an argument, which is reported.
    int init(int argc, ACE_TCHAR* argv[]) override;

    // After this no task runs any more.
    int StopService() override;

    int fini() override;

    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;

  private:
    ScheduleService* service_ = nullptr;  // interface_ in its own type; the base owns it
};

}  // namespace NS_REFERENCE_HOST
