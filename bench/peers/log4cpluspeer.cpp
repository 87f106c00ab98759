// log4cplus: files flushed after every record, and its asynchronous appender.
#include <log4cplus/asyncappender.h>
#include <log4cplus/fileappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/log4cplus.h>
#include <log4cplus/loggingmacros.h>
#include <log4cplus/ndc.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "harness/contender.h"
#include "harness/loggername.h"
#include "harness/sample.h"

namespace NS_BENCH {

namespace {

constexpr char kPattern[] =
    "%D{%Y-%m-%dT%H:%M:%S.%Q%z}, %x, T:%t, DL:%p, File: %b Func:%M Line:%L%n Detail: %m%n%n";

class Log4cplusRecords : public Contender {
  public:
    explicit Log4cplusRecords(const Job& job)
        : job_(job), queued_(job.subject == "queued" || job.subject == "paced") {
        for (int i = 0; i < job.categories; ++i) {
            loggers_.push_back(log4cplus::Logger::getInstance(kCategories[i]));
            loggers_.back().setAdditivity(false);
            loggers_.back().setLogLevel(log4cplus::INFO_LOG_LEVEL);
        }
    }
    ~Log4cplusRecords() override { Drain(); }

    // The asynchronous appender ends when it is drained; each phase has a new one.
    void Begin() override {
        for (size_t i = 0; i < loggers_.size(); ++i) {
            if (loggers_[i].getAllAppenders().empty()) {
                loggers_[i].addAppender(MakeAppender(kCategories[i]));
            }
        }
    }

    void EnterThread() override { log4cplus::getNDC().push(kContext); }

    void Record(int category, int number) override {
        const log4cplus::Logger& logger = loggers_[static_cast<size_t>(category)];
        if (logger.isEnabledFor(log4cplus::INFO_LOG_LEVEL)) {
            log4cplus::helpers::snprintf_buf& buffer =
                log4cplus::detail::get_macro_body_snprintf_buf();
            logger.forcedLog(log4cplus::INFO_LOG_LEVEL,
                             buffer.print(kFormat, number, kAnswer, kSeconds), kFile, kLine,
                             kFunction);
        }
    }

    void Drain() override {
        if (queued_) {
            for (log4cplus::Logger& logger : loggers_) {
                logger.closeNestedAppenders();
                for (const auto& appender : logger.getAllAppenders()) {
                    appender->close();
                }
                logger.removeAllAppenders();
            }
        }
    }

  private:
    log4cplus::SharedAppenderPtr MakeAppender(const std::string& name) const {
        const std::string path = job_.directory + "/" + name + ".log";
        log4cplus::SharedAppenderPtr appender;
        if (job_.subject == "rotation") {
            appender = new log4cplus::RollingFileAppender(path, kRotationSize, 5, true);
        } else {
            appender = new log4cplus::FileAppender(path, std::ios::app, !queued_);
        }
        appender->setLayout(std::make_unique<log4cplus::PatternLayout>(kPattern));
        if (queued_) {
            appender = new log4cplus::AsyncAppender(appender, kQueueLength);
        }
        return appender;
    }

    const Job job_;
    const bool queued_;
    log4cplus::Initializer initializer_;
    std::vector<log4cplus::Logger> loggers_;
};

class Log4cplusLoggers : public Contender {
  public:
    explicit Log4cplusLoggers(const Job& job) : asked_(job) {
        for (int i = 0; i < job.count; ++i) {
            log4cplus::Logger::getInstance(LoggerName(i));
        }
    }

    void Record(int /*category*/, int number) override {
        log4cplus::Logger::getInstance(asked_.At(number));
    }

  private:
    log4cplus::Initializer initializer_;
    const AskedNames asked_;
};

}  // namespace

std::unique_ptr<Contender> MakeContender(const Job& job) {
    if (job.subject == "getlogger") {
        return std::make_unique<Log4cplusLoggers>(job);
    }
    if (job.subject == "kept" || job.subject == "dump" || job.subject == "switchall") {
        throw std::invalid_argument("no subject " + job.subject);
    }
    return std::make_unique<Log4cplusRecords>(job);
}

}  // namespace NS_BENCH
