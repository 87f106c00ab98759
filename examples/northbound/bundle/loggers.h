// The loggers that the agent's operations write through.
#pragma once

#include "qv_base_log/logsvcinterface.h"

namespace NS_NORTHBOUND {

// What becomes of the details of operations: levels 2 and 3.
enum class Details {
    KeptBack,      // until something fails
    AsConfigured,  // whatever "logswitch" says
    None           // they are not made
};

// Found once and kept. A null logger logs nothing: the macros leave the call out.
//
// Details have loggers of their own, so that their levels can be switched without those of begin
// and end. They share the category, and so the file and what is kept back.
//
// Thread safety: as that of the loggers.
struct Loggers {
    // Throws std::runtime_error when the service refuses a category.
    Loggers(NS_LOG_SERVICE1::LogSvcInterface& service, Details details);

    // Nothing is logged.
    Loggers() = default;

    NS_LOG_SERVICE1::LoggerIF* operations = nullptr;  // begin, end and failure of each call
    NS_LOG_SERVICE1::LoggerIF* operationDetails = nullptr;
    NS_LOG_SERVICE1::LoggerIF* internal = nullptr;  // what the agent asks of the network
    NS_LOG_SERVICE1::LoggerIF* internalDetails = nullptr;
    NS_LOG_SERVICE1::LoggerIF* notifications = nullptr;  // what is told to subscribers
    NS_LOG_SERVICE1::LoggerIF* notificationDetails = nullptr;
    NS_LOG_SERVICE1::LoggerIF* alarms = nullptr;
    NS_LOG_SERVICE1::LoggerIF* messages = nullptr;  // requests and answers
    NS_LOG_SERVICE1::LoggerIF* system = nullptr;    // start, stop, sessions
};

}  // namespace NS_NORTHBOUND
