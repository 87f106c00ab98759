// See operations.cpp.
#pragma once

#include <string>

#include "asn/asnobject.h"
#include "qv_base_log/loggerif.h"

void LogQuery(NS_LOG_SERVICE1::LoggerIF* logger, int elements, const std::string& user);
void ServeOperation(NS_LOG_SERVICE1::LoggerIF* logger, const std::string& uuid);
void ReportFailure(NS_LOG_SERVICE1::LoggerIF* logger, const std::string& cause);
void ForwardAlarms(NS_LOG_SERVICE1::LoggerIF* logger);
bool QueueOutput(bool on);
void TraceMessage(NS_LOG_SERVICE1::LoggerIF* logger, NS_ASN1::AsnObject& message);
