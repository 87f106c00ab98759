// One call of a client, from its begin to its end in the log.
#include "bundle/operationlog.h"

#include <exception>

#include "network/operationidentifier.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logmacros.h"

namespace NS_NORTHBOUND {

using NS_LOG_SERVICE1::LOG_LEVEL_0;
using NS_LOG_SERVICE1::LOG_LEVEL_1;

OperationLog::OperationLog(const Loggers& loggers, const char* interfaceName, const Caller& caller)
    : loggers_(loggers),
      interfaceName_(interfaceName),
      identifier_(OperationIdentifier(caller.session, caller.call)),
      context_(NS_UTIL::ThreadContextInfo(static_cast<int>(caller.session), interfaceName,
                                          caller.user, identifier_)) {
    QV_LOG_FORMAT(loggers_.operations, LOG_LEVEL_1, "begin: %s", interfaceName_);
}

OperationLog::~OperationLog() {
    try {
        QV_LOG_FORMAT(loggers_.operations, LOG_LEVEL_1, "end: %s %s", interfaceName_,
                      failed_ ? "failed" : "done");
    } catch (const std::exception&) {
        // No memory for the record: the call itself is done all the same.
    }
}

void OperationLog::Fail(const char* reason) {
    failed_ = true;
    QV_LOG_FORMAT(loggers_.operations, LOG_LEVEL_0, "%s failed: %s", interfaceName_, reason);
}

}  // namespace NS_NORTHBOUND
