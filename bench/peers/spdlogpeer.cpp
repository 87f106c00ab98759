// spdlog: files flushed after every record, its asynchronous mode, its backtrace ring.
#include <spdlog/async.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "harness/contender.h"
#include "harness/loggername.h"
#include "harness/sample.h"

namespace NS_BENCH {

namespace {

constexpr char kPattern[] = "%Y-%m-%dT%H:%M:%S.%f%z, T:%t, DL:%L, File: %s Func:%! Line:%#, %v\n";

class SpdlogRecords : public Contender {
  public:
    explicit SpdlogRecords(const Job& job)
        : queued_(job.subject == "queued" || job.subject == "paced"),
          level_(job.subject == "kept" || job.subject == "dump" ? spdlog::level::debug
                                                                : spdlog::level::info) {
        if (queued_) {
            spdlog::init_thread_pool(kQueueLength, 1);
        }
        for (int i = 0; i < job.categories; ++i) {
            loggers_.push_back(MakeLogger(job, i));
        }
    }

    // It knows no operation of a thread: the text comes with each record.
    void Record(int category, int number) override {
        loggers_[static_cast<size_t>(category)]->log(
            spdlog::source_loc{kFile, kLine, kFunction}, level_,
            "{}\n Detail: {} network elements answered {} after {:.3f} s", kContext, number,
            kAnswer, kSeconds);
    }

    void Drain() override {
        if (!queued_) {
            return;
        }
        // The flush is the last in the queue: when it has been taken, all records are in the sink.
        loggers_.front()->flush();
        while (spdlog::thread_pool()->queue_size() > 0) {
            std::this_thread::yield();
        }
        loggers_.front()->sinks().front()->flush();
    }

  protected:
    spdlog::logger& First() { return *loggers_.front(); }

  private:
    std::shared_ptr<spdlog::logger> MakeLogger(const Job& job, int category) const {
        const std::string name = kCategories[category];
        const std::string path = job.directory + "/" + name + ".log";
        std::shared_ptr<spdlog::logger> logger;
        if (queued_) {
            logger = spdlog::basic_logger_mt<spdlog::async_factory>(name, path);
        } else if (job.subject == "rotation") {
            logger = spdlog::rotating_logger_mt(name, path, kRotationSize, 5);
        } else {
            logger = spdlog::basic_logger_mt(name, path);
        }
        logger->set_pattern(kPattern);
        if (!queued_) {
            logger->flush_on(spdlog::level::trace);
        }
        if (level_ == spdlog::level::debug) {
            logger->enable_backtrace(kKeptLength);
        }
        return logger;
    }

    const bool queued_;
    const spdlog::level::level_enum level_;
    std::vector<std::shared_ptr<spdlog::logger>> loggers_;
};

// The full ring, written out and flushed.
class SpdlogDump : public SpdlogRecords {
  public:
    using SpdlogRecords::SpdlogRecords;

    void Prepare() override {
        for (int i = 0; i < kKeptLength; ++i) {
            SpdlogRecords::Record(0, i);
        }
    }
    void Record(int /*category*/, int /*number*/) override {
        First().dump_backtrace();
        First().flush();
    }
};

// Its table of loggers: one is found, or a level is switched in all.
class SpdlogLoggers : public Contender {
  public:
    explicit SpdlogLoggers(const Job& job) : switches_(job.subject == "switchall"), asked_(job) {
        const auto sink =
            std::make_shared<spdlog::sinks::basic_file_sink_mt>(job.directory + "/all.log");
        for (int i = 0; i < job.count; ++i) {
            spdlog::register_logger(std::make_shared<spdlog::logger>(LoggerName(i), sink));
        }
    }

    void Record(int /*category*/, int number) override {
        if (switches_) {
            spdlog::set_level(number % 2 == 0 ? spdlog::level::info : spdlog::level::debug);
        } else {
            spdlog::get(asked_.At(number));
        }
    }

  private:
    const bool switches_;
    const AskedNames asked_;
};

}  // namespace

std::unique_ptr<Contender> MakeContender(const Job& job) {
    if (job.subject == "dump") {
        return std::make_unique<SpdlogDump>(job);
    }
    if (job.subject == "getlogger" || job.subject == "switchall") {
        return std::make_unique<SpdlogLoggers>(job);
    }
    return std::make_unique<SpdlogRecords>(job);
}

}  // namespace NS_BENCH
