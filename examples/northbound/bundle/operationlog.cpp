// One call of a client, from its begin to its end in the log.
#include "bundle/operationlog.h"

#include <exception>

#include "network/operationidentifier.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logmacros.h"

namespace NS_NORTHBOUND {

using NS_LOG_SERVICE1::LOG_LEVEL_0;
using NS_LOG_SERVICE1::LOG_LEVEL_1;

OperationTexts::OperationTexts(const char* operation)
    : name(operation),
      begin("begin: " + name),
      done("end: " + name + " done"),
      failed("end: " + name + " failed") {}

OperationLog::OperationLog(const Loggers& loggers, const OperationTexts& texts,
                           const Caller& caller)
    : loggers_(loggers),
      texts_(texts),
      identifier_(OperationIdentifier(caller.session, caller.call)),
      context_(NS_UTIL::ThreadContextInfo(static_cast<int>(caller.session), texts.name, caller.user,
                                          identifier_)) {
    QV_LOG(loggers_.operations, LOG_LEVEL_1, texts_.begin);
}

OperationLog::~OperationLog() {
    try {
        QV_LOG(loggers_.operations, LOG_LEVEL_1, failed_ ? texts_.failed : texts_.done);
    } catch (const std::exception&) {
        // No memory for the record: the call itself is done all the same.
    }
}

void OperationLog::Fail(const char* reason) {
    failed_ = true;
    QV_LOG_FORMAT(loggers_.operations, LOG_LEVEL_0, "%s failed: %s", texts_.name.c_str(), reason);
}

}  // namespace NS_NORTHBOUND
