// The loggers that the sample traffic writes through.
#include "sampletraffic/loggers.h"

#include <stdexcept>
#include <string>

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::LoggerIF;
using NS_LOG_SERVICE1::LogSvcInterface;

LoggerIF& Get(LogSvcInterface& service, const char* part, const char* category) {
    LoggerIF* const logger = service.GetLogger("qv_sample_traffic", part, category);
    if (logger == nullptr) {
        throw std::runtime_error(std::string("there is no log category '") + category + "'");
    }
    return *logger;
}

}  // namespace

Loggers::Loggers(LogSvcInterface& service)
    : debug(Get(service, "Trace", "debug")),
      messages(Get(service, "Messages", "corbadebug")),
      notifications(Get(service, "Notifications", "corbanotify")),
      alarms(Get(service, "Alarms", "corba_alarm")),
      system(Get(service, "Sessions", "corbasys")),
      operations(Get(service, "Operations", "corbaoper")),
      internalOperations(Get(service, "Requests", "corba_internal_oper")) {}

}  // namespace NS_REFERENCE_HOST
