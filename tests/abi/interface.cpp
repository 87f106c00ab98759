// All types that clients and the service share, as the types of exported functions: abidw describes
// what these reach. Built with debug information into a library that nobody runs.
#include "qv_base_log/loggerif.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logmaintenanceinterface.h"
#include "qv_base_log/logsvcinterface.h"

#define QV_EXPORT __attribute__((visibility("default")))

namespace NS_LOG_SERVICE1 {

QV_EXPORT extern LogSvcInterface* const logSvcInterface;
QV_EXPORT extern LoggerIF* const logger;
QV_EXPORT extern LogMaintenanceInterface* const logMaintenanceInterface;
QV_EXPORT extern const LogLevel logLevel;

LogSvcInterface* const logSvcInterface = nullptr;
LoggerIF* const logger = nullptr;
LogMaintenanceInterface* const logMaintenanceInterface = nullptr;
const LogLevel logLevel = LOG_LEVEL_0;

// What the operations fill in and return.
QV_EXPORT extern const LoggerStatus* const loggerStatus;
QV_EXPORT extern const ChannelStatus* const channelStatus;
QV_EXPORT extern const ModuleStatus* const moduleStatus;
QV_EXPORT extern const ChannelBooks* const channelBooks;
QV_EXPORT extern const LogSwitches* const logSwitches;

const LoggerStatus* const loggerStatus = nullptr;
const ChannelStatus* const channelStatus = nullptr;
const ModuleStatus* const moduleStatus = nullptr;
const ChannelBooks* const channelBooks = nullptr;
const LogSwitches* const logSwitches = nullptr;

}  // namespace NS_LOG_SERVICE1
