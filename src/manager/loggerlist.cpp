#include "manager/loggerlist.h"

#include <utility>

#include "diagnostic/messages.h"

namespace NS_LOG_SERVICE1 {

LoggerList::~LoggerList() {
    while (!loggers_.empty()) {
        loggers_.pop_front();
    }
}

Logger* LoggerList::Add(std::unique_ptr<Logger> made) {
    if (made == nullptr) {
        return nullptr;
    }
    Logger* logger = made.get();
    loggers_.push_back(std::move(made));
    try {
        index_.Add(*logger);
    } catch (...) {
        loggers_.pop_back();
        throw;
    }
    return logger;
}

void LoggerList::AfterForkInChild() {
    for (const std::unique_ptr<Logger>& logger : loggers_) {
        logger->RenewLevelMutex();
    }
    mutex_.AfterForkInChild();
}

void LoggerList::EnableAll(uint32_t level) {
    ForEach([level](Logger& logger) {
        if (!logger.EnableLevel(level)) {
            kEnablingRefused.Report(logger.First().c_str(), logger.Second().c_str(),
                                    logger.Category().c_str());
        }
    });
}

void LoggerList::DisableAll(uint32_t level) {
    ForEach([level](Logger& logger) {
        if (!logger.DisableLevel(level)) {
            kDisablingRefused.Report(logger.First().c_str(), logger.Second().c_str(),
                                     logger.Category().c_str());
        }
    });
}

}  // namespace NS_LOG_SERVICE1
