// One operation of a client and the records that it leaves behind.
#include "sampletraffic/operation.h"

#include <json/value.h>

#include <array>
#include <cstdio>
#include <string>

#include "qv_base_log/loglevel.h"
#include "sampletraffic/asnmessages.h"
#include "util/threadcontext.h"

namespace NS_REFERENCE_HOST {

namespace {

using NS_LOG_SERVICE1::LOG_LEVEL_0;
using NS_LOG_SERVICE1::LOG_LEVEL_1;
using NS_LOG_SERVICE1::LOG_LEVEL_2;
using NS_LOG_SERVICE1::LOG_LEVEL_3;
using NS_LOG_SERVICE1::LOG_LEVEL_SHORT;
using NS_UTIL::ThreadContextInfo;
using NS_UTIL::ThreadContextScope;

const std::string kFile = "operation.cpp";

// The objects that a client requests, in turn.
constexpr std::array<const char*, 4> kInterfaces = {"getManagedElement", "getEquipmentLocation",
                                                    "getSubnetworkConnections",
                                                    "createTransferSchedule"};

std::string UserOf(unsigned int session) {
    return "nms-client-" + std::to_string(session) + "@192.0.2." +
           std::to_string(session % 254 + 1);
}

ThreadContextInfo ContextOf(unsigned int session, unsigned int number, const char* interfaceName) {
    char identifier[37];
    std::snprintf(identifier, sizeof(identifier), "%08x-0000-4000-8000-%012x", session, number);
    return ThreadContextInfo(static_cast<int>(session), interfaceName, UserOf(session), identifier);
}

unsigned int ElementOf(unsigned int session, unsigned int number) {
    return 1000 * session + number;
}

Json::Value Alarm(unsigned int element, const char* cause, const char* severity) {
    Json::Value alarm(Json::objectValue);
    alarm["managedElement"] = "NE-" + std::to_string(element);
    alarm["probableCause"] = cause;
    alarm["perceivedSeverity"] = severity;
    alarm["serviceAffecting"] = true;
    return alarm;
}

}  // namespace

void ReportSessionOpened(const Loggers& loggers, unsigned int session) {
    const ThreadContextScope context(ContextOf(session, 0, "login"));
    loggers.system.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_1,
                             "session %u opened for %s, protocol %d.%d", session,
                             UserOf(session).c_str(), 1, 2);
}

void ReportSessionClosed(const Loggers& loggers, unsigned int session) {
    const ThreadContextScope context(ContextOf(session, 0, "logout"));
    loggers.system.Log(kFile, __func__, __LINE__, LOG_LEVEL_1,
                       "session " + std::to_string(session) + " closed by the client");
}

Operation::Operation(const Loggers& loggers, unsigned int session, unsigned int number)
    : loggers_(loggers), session_(session), number_(number) {}

void Operation::Run() const {
    const char* const interfaceName = kInterfaces[number_ % kInterfaces.size()];
    const ThreadContextScope context(ContextOf(session_, number_, interfaceName));
    Begin();
    AskSystem();
    TraceMessage();
    Notify();
    RaiseAlarms();
    if (number_ % 10 == 9) {
        Fail();
    } else {
        End();
    }
}

void Operation::Begin() const {
    loggers_.operations.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_1,
                                  "begin: operation %u on NE-%u", number_,
                                  ElementOf(session_, number_));
    loggers_.debug.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_2,
                             "operation %u: checking the rights of %s", number_,
                             UserOf(session_).c_str());
}

void Operation::AskSystem() const {
    loggers_.internalOperations.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_2,
                                          "asked the resource service for NE-%u: %u rows, %.1f ms",
                                          ElementOf(session_, number_), number_ % 7 + 1,
                                          0.5 + number_ % 20);
    for (unsigned int row = 0; row <= number_ % 7; ++row) {
        loggers_.debug.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_3,
                                 "operation %u: row %u: slot %u, port %u, in service", number_, row,
                                 row / 4 + 1, row % 4 + 1);
    }
}

void Operation::TraceMessage() const {
    switch (number_ % kInterfaces.size()) {
        case 0: {
            NetworkElementResponse message(ElementOf(session_, number_), "agent", "Elem3nt!pass");
            loggers_.messages.LogAsnTrace(kFile, __func__, __LINE__, message);
            break;
        }
        case 1: {
            LocationResponse message("Springfield", "Room 12", number_);
            loggers_.messages.LogAsnTrace(kFile, __func__, __LINE__, message);
            break;
        }
        case 2: {
            // Not masked: the customer's name is invented.
            ConnectionResponse message(number_, "Example Carrier");
            loggers_.messages.PrintAsn(kFile, __func__, __LINE__, message);
            break;
        }
        default: {
            TransferScheduleRequest message("198.51.100.20", "tr4nsfer-secret");
            loggers_.messages.LogAsnTrace(kFile, __func__, __LINE__, message);
            break;
        }
    }
}

void Operation::Notify() const {
    loggers_.notifications.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_2,
                                     "pushed attributeValueChange of NE-%u to %u of %u consumers",
                                     ElementOf(session_, number_), session_, session_);
    if (number_ % 5 == 0) {
        loggers_.notifications.Log(kFile, __func__, __LINE__, LOG_LEVEL_SHORT,
                                   "heartbeat to session " + std::to_string(session_));
    }
}

void Operation::RaiseAlarms() const {
    if (number_ % 3 != 0) {
        return;
    }
    Json::Value alarms(Json::arrayValue);
    alarms.append(Alarm(ElementOf(session_, number_), "LOS", "critical"));
    alarms.append(Alarm(ElementOf(session_, number_), "temperature above 60 \u00B0C", "minor"));
    loggers_.alarms.LogAlarm(kFile, __func__, __LINE__, alarms);
}

void Operation::Fail() const {
    // The record of level 0 also writes the records of this category that were kept back: the rows
    // above.
    loggers_.debug.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_0,
                             "operation %u failed: NE-%u does not answer (error %#x)", number_,
                             ElementOf(session_, number_), 0x1001U);
    loggers_.operations.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_1,
                                  "end: operation %u failed", number_);
}

void Operation::End() const {
    loggers_.operations.LogFormat(kFile, __func__, __LINE__, LOG_LEVEL_1, "end: operation %u done",
                                  number_);
}

}  // namespace NS_REFERENCE_HOST
