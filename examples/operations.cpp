// What a bundle does with its logger: texts, messages, alarms, contexts and traces.
#include "operations.h"

#include <json/value.h>

#include "asn/asnobject.h"
#include "qv_base_log/logmacros.h"
#include "qv_base_log/logmaintenance.h"
#include "qv_base_log/resultcode.h"
#include "util/threadcontext.h"

using NS_LOG_SERVICE1::FindLogMaintenance;
using NS_LOG_SERVICE1::LOG_LEVEL_0;
using NS_LOG_SERVICE1::LOG_LEVEL_2;
using NS_LOG_SERVICE1::LOG_RESULT_OK;
using NS_LOG_SERVICE1::LoggerIF;
using NS_LOG_SERVICE1::LogMaintenanceInterface;

// [message]
void LogQuery(LoggerIF* logger, int elements, const std::string& user) {
    QV_LOG_FORMAT(logger, LOG_LEVEL_2, "%d network elements for %s", elements, user.c_str());
}
// [message]

// [context]
void ServeOperation(LoggerIF* logger, const std::string& uuid) {
    const NS_UTIL::ThreadContextScope scope(
        NS_UTIL::ThreadContextInfo(12, "getAllNetworkElements", "operator1", uuid));
    QV_LOG(logger, LOG_LEVEL_2, "begins");
    // Every record of this thread names the operation until the scope ends.
    QV_LOG(logger, LOG_LEVEL_2, "ends");
}
// [context]

// [history]
void ReportFailure(LoggerIF* logger, const std::string& cause) {
    // The records of this category that were kept back are written around this one.
    QV_LOG_FORMAT(logger, LOG_LEVEL_0, "the operation failed: %s", cause.c_str());
}
// [history]

// [alarms]
void ForwardAlarms(LoggerIF* logger) {
    Json::Value alarm;
    alarm["severity"] = "major";
    alarm["source"] = "NE-17";
    Json::Value alarms(Json::arrayValue);
    alarms.append(alarm);
    QV_LOG_ALARM(logger, alarms);
}
// [alarms]

// [maintenance]
bool QueueOutput(bool on) {
    LogMaintenanceInterface* const maintenance = FindLogMaintenance();
    return maintenance != nullptr && maintenance->SetQueuedOutput(on) == LOG_RESULT_OK;
}
// [maintenance]

// [asn]
void TraceMessage(LoggerIF* logger, NS_ASN1::AsnObject& message) {
    QV_LOG_ASN_TRACE(logger, message);  // never QV_LOG_ASN for a message that carries secrets
}
// [asn]
