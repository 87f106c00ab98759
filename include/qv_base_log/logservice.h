// Finds the logging service. Header-only.
#pragma once

#include <string>
#include <vector>

#include "bundlemgr/ifbuf.h"
#include "qv_base_log/logsvcinterface.h"

namespace NS_LOG_SERVICE1 {

// Returns the logging service of this process, or null while its bundle is not loaded. The pointer
// is valid until the service is finished. May throw std::bad_alloc. Thread safety: any thread.
inline LogSvcInterface* FindLogService() {
    const std::vector<NS_BUNDLEMGR1::ServiceInterface*> found =
        NS_BUNDLEMGR1::CheckIFBuf(LOG_SVC_INTERFACE_NAME);
    return found.empty() ? nullptr : dynamic_cast<LogSvcInterface*>(found.front());
}

}  // namespace NS_LOG_SERVICE1
