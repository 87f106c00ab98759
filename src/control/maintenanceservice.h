// Offers the maintenance interface to the process.
#pragma once

#include "bundlemgr/serviceobjectbase.h"

namespace NS_LOG_SERVICE1 {

class LogMaintenanceImpl;

// A separate service object, because a service object holds one interface. No factory makes it: the
// log service starts it after its own start and ends it before its own end.
//
// Thread safety: Start and Finish are called by the bundle manager's thread.
class MaintenanceService : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    // Creates and registers the interface, unless that has been done or there is no log manager.
    // Throws nothing: when that fails, there is no interface.
    static void Start();

    // Removes the interface. If a file policy was chosen through it, also writes out the queues,
    // and reports how many records were lost since the start: they could not be written, or their
    // file was emptied. Records of switched-off levels are kept back and not promised to anybody,
    // so they are no loss. Does nothing without Start.
    static void Finish();

    // In a child process; see QueuedOutput.
    static void AfterForkInChild();

    MaintenanceService();

    // Null without a log manager.
    NS_BUNDLEMGR1::ServiceInterface* CreateInterface() override;

  private:
    // The interface object; null when there is none.
    LogMaintenanceImpl* Maintenance() const;
};

}  // namespace NS_LOG_SERVICE1
