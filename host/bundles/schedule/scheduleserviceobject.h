// The service object of the schedule bundle.
#pragma once

#include "bundlemgr/serviceobjectbase.h"

namespace NS_REFERENCE_HOST {

class ScheduleService;

// Takes no arguments. When the configuration lists it before the bundles that use it, it starts
// before them and ends after them. Another order does no harm.
//
// Thread safety: that of the base: the manager's thread only.
class ScheduleServiceObject : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    ScheduleServiceObject();
    ~ScheduleServiceObject() override;

    // Starts the service and registers it. Reports an argument and returns -1.
    int init(int argc, ACE_TCHAR* argv[]) override;

    // After this no task runs any more.
    int StopService() override;

    int fini() override;

    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;

  private:
    ScheduleService* service_ = nullptr;  // interface_ in its own type; the base owns it
};

}  // namespace NS_REFERENCE_HOST
