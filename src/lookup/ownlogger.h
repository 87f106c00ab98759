// The logger through which the service reports exceptions that it has caught.
#pragma once

#include "bundlemgr/processexception.h"
#include "qv_base_log/loggerif.h"

namespace NS_LOG_SERVICE1 {

// Returns the service's own logger, of the category "debug". The first call looks it up as any
// client does, and it is kept. Returns null when that fails; the next call tries again. Never
// throws. Thread safety: any thread.
LoggerIF* GetOwnLogger();

// Forgets the logger. The manager calls this before it deletes its loggers.
void ForgetOwnLogger();

// Logs the exception's texts and code at level 1. Does nothing when there is no own logger.
void ReportException(const NS_BUNDLEMGR1::ProcessException& exception);

}  // namespace NS_LOG_SERVICE1
