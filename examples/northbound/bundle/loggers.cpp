// The loggers that the agent's operations write through.
#include "bundle/loggers.h"

#include <stdexcept>
#include <string>

#include "qv_base_log/loglevel.h"

namespace NS_NORTHBOUND {

namespace {

using NS_LOG_SERVICE1::LoggerIF;
using NS_LOG_SERVICE1::LogSvcInterface;

LoggerIF* Get(LogSvcInterface& service, const char* part, const char* category) {
    LoggerIF* const logger = service.GetLogger("qv_northbound", part, category);
    if (logger == nullptr) {
        throw std::runtime_error(std::string("there is no log category '") + category + "'");
    }
    return logger;
}

LoggerIF* GetForDetails(LogSvcInterface& service, const char* part, const char* category,
                        Details details) {
    if (details == Details::None) {
        return nullptr;
    }
    LoggerIF* const logger = Get(service, part, category);
    if (details == Details::KeptBack) {
        logger->DisableLevel(NS_LOG_SERVICE1::LOG_LEVEL_2);
        logger->DisableLevel(NS_LOG_SERVICE1::LOG_LEVEL_3);
    }
    return logger;
}

}  // namespace

Loggers::Loggers(LogSvcInterface& service, Details details)
    : operations(Get(service, "Operations", "corbaoper")),
      operationDetails(GetForDetails(service, "OperationDetails", "corbaoper", details)),
      internal(Get(service, "Requests", "corba_internal_oper")),
      internalDetails(GetForDetails(service, "RequestDetails", "corba_internal_oper", details)),
      notifications(Get(service, "Notifications", "corbanotify")),
      notificationDetails(GetForDetails(service, "NotificationDetails", "corbanotify", details)),
      alarms(Get(service, "Alarms", "corba_alarm")),
      messages(Get(service, "Messages", "corbadebug")),
      system(Get(service, "System", "corbasys")) {}

}  // namespace NS_NORTHBOUND
