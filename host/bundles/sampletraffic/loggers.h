// The loggers that the sample traffic writes through: one for each log category.
#pragma once

#include "qv_base_log/logsvcinterface.h"

namespace NS_REFERENCE_HOST {

// The loggers stay the service's.
//
// Thread safety: as that of the loggers.
class Loggers {
  public:
    // Throws std::runtime_error when the service refuses a category.
    explicit Loggers(NS_LOG_SERVICE1::LogSvcInterface& service);

    NS_LOG_SERVICE1::LoggerIF& debug;
    NS_LOG_SERVICE1::LoggerIF& messages;       // what is exchanged with the clients
    NS_LOG_SERVICE1::LoggerIF& notifications;  // what is pushed to them
    NS_LOG_SERVICE1::LoggerIF& alarms;
    NS_LOG_SERVICE1::LoggerIF& system;  // sessions, connections
    NS_LOG_SERVICE1::LoggerIF& operations;
    NS_LOG_SERVICE1::LoggerIF& internalOperations;  // what the agent asks of its own system
};

}  // namespace NS_REFERENCE_HOST
