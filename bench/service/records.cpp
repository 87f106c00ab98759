#include "service/records.h"

#include <stdexcept>

#include "harness/sample.h"
#include "qv_base_log/loglevel.h"

namespace NS_BENCH {

namespace {

using NS_LOG_SERVICE1::LOG_LEVEL_0;
using NS_LOG_SERVICE1::LOG_LEVEL_1;
using NS_LOG_SERVICE1::LOG_LEVEL_3;

bool Formats(const std::string& way) {
    if (way != "Log" && way != "LogFormat") {
        throw std::invalid_argument("no way " + way);
    }
    return way == "LogFormat";
}

bool IsQueued(const std::string& subject) {
    return subject == "queued" || subject == "paced";
}

std::string Configuration(const Job& job) {
    return job.subject == "rotation" ? "logfilesize = " + std::to_string(kRotationSize) + "\n" : "";
}

}  // namespace

ServiceRecords::ServiceRecords(const Job& job)
    : file_(kFile),
      function_(kFunction),
      text_(kReadyText),
      formats_(Formats(job.way)),
      queued_(IsQueued(job.subject)),
      level_(job.subject == "kept" ? LOG_LEVEL_3 : LOG_LEVEL_1),
      bundle_(job.directory, Configuration(job)) {
    for (const char* category : kCategories) {
        loggers_.push_back(bundle_.Log().GetLogger("bench", "records", category));
        if (loggers_.back() == nullptr) {
            throw std::runtime_error(std::string("no logger of ") + category);
        }
    }
    if (queued_) {
        bundle_.Maintenance().SetQueuedOutput(true);
    }
}

void ServiceRecords::RecordAt(int level, int category, int number) {
    NS_LOG_SERVICE1::LoggerIF& logger = LoggerOf(category);
    if (formats_) {
        logger.LogFormat(file_, function_, kLine, level, kFormat, number, kAnswer, kSeconds);
    } else {
        logger.Log(file_, function_, kLine, level, text_);
    }
}

void ServiceRecords::Record(int category, int number) {
    RecordAt(level_, category, number);
}

void ServiceRecords::Drain() {
    if (queued_) {
        bundle_.Maintenance().FlushAll();
    }
}

void ServiceDump::Prepare() {
    for (int i = 0; i < kKeptLength; ++i) {
        RecordAt(LOG_LEVEL_3, 0, i);
    }
}

void ServiceDump::Record(int category, int number) {
    RecordAt(LOG_LEVEL_0, category, number);
}

}  // namespace NS_BENCH
