#include "lookup/ownlogger.h"

#include <atomic>

#include "diagnostic/logproxycache.h"
#include "lookup/interfacelookup.h"
#include "qv_base_log/loglevel.h"
#include "qv_base_log/logsvcinterface.h"

namespace NS_LOG_SERVICE1 {
namespace {

std::atomic<LoggerIF*> ownLogger{nullptr};

}  // namespace

LoggerIF* GetOwnLogger() {
    LoggerIF* logger = ownLogger.load(std::memory_order_acquire);
    if (logger != nullptr) {
        return logger;
    }
    try {
        logger = LookUp<LogSvcInterface>(LOG_SVC_INTERFACE_NAME)
                     .GetLogger(kBundleName, kServiceName, "debug");
    } catch (...) {
        logger = nullptr;
    }
    ownLogger.store(logger, std::memory_order_release);
    return logger;
}

void ForgetOwnLogger() {
    ownLogger.store(nullptr, std::memory_order_release);
}

void ReportException(const NS_BUNDLEMGR1::ProcessException& exception) {
    if (LoggerIF* logger = GetOwnLogger()) {
        logger->Log(exception.GetFile(), exception.GetFunction(), exception.GetCode(), LOG_LEVEL_1,
                    exception.GetDescription());
    }
}

}  // namespace NS_LOG_SERVICE1
