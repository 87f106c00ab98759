// Finds the maintenance interface of the logging service. Header-only.
#pragma once

#include <vector>

#include "bundlemgr/ifbuf.h"
#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_LOG_SERVICE1 {

// Returns the maintenance interface of this process's logging service, or null while the service
// does not run or offers none. Ask its GetVersion before using operations that were added later.
// The pointer is valid until the service is finished. May throw std::bad_alloc. Thread safety: any
// thread.
inline LogMaintenanceInterface* FindLogMaintenance() {
    const std::vector<NS_BUNDLEMGR1::ServiceInterface*> found =
        NS_BUNDLEMGR1::CheckIFBuf(LOG_MAINTENANCE_INTERFACE_NAME);
    return found.empty() ? nullptr : dynamic_cast<LogMaintenanceInterface*>(found.front());
}

}  // namespace NS_LOG_SERVICE1
