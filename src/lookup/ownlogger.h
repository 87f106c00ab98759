// The logger through which the service reports exceptions that it has caught.
#pragma once

#include "bundlemgr/processexception.h"
#include "qv_base_log/loggerif.h"

namespace NS_LOG_SERVICE1 {

// The service's own logger, of the category "debug", obtained as any client obtains one and kept;
// null while it cannot be had, and the next call tries again. Never throws. Any thread.
LoggerIF* GetOwnLogger();

// Forgets the logger: the manager that owns it is about to delete it.
void ForgetOwnLogger();

// Logs the exception's texts and code at level 1, if the own logger can be had.
void ReportException(const NS_BUNDLEMGR1::ProcessException& exception);

}  // namespace NS_LOG_SERVICE1
