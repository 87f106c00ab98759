// Offering the maintenance interface to the process.
#pragma once

#include "bundlemgr/serviceobjectbase.h"

namespace NS_LOG_SERVICE1 {

// A service object of its own, because a service object holds one interface. It is not made by a
// factory: the log service starts it behind its own start and ends it before its own end.
//
// Thread safety: Start and Finish are called by the bundle manager's thread.
class MaintenanceService : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    // Creates and registers the interface, unless that has been done or there is no log manager.
    static void Start();

    // Takes the interface away, writes out the queues and reports how many records were lost since
    // the start: could not be written, or were kept back and never asked for. Does nothing without
    // Start.
    static void Finish();

    MaintenanceService();

    // Null without a log manager.
    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;
};

}  // namespace NS_LOG_SERVICE1
