// Records through the service: written at once, queued, kept back or dumped.
#pragma once

#include <string>
#include <vector>

#include "harness/contender.h"
#include "qv_base_log/loggerif.h"
#include "service/servicebundle.h"

namespace NS_BENCH {

// Ways: "Log" takes a ready text, "LogFormat" formats it.
class ServiceRecords : public Contender {
  public:
    explicit ServiceRecords(const Job& job);

    void EnterThread() override { EnterSampleOperation(); }
    void Record(int category, int number) override;
    void Drain() override;

  protected:
    ServiceBundle& Bundle() { return bundle_; }
    NS_LOG_SERVICE1::LoggerIF& LoggerOf(int category) {
        return *loggers_[static_cast<size_t>(category)];
    }
    // Records at `level`, which decides whether the record is written or kept back.
    void RecordAt(int level, int category, int number);

  private:
    const std::string file_;
    const std::string function_;
    const std::string text_;
    const bool formats_;
    const bool queued_;
    const int level_;
    ServiceBundle bundle_;
    std::vector<NS_LOG_SERVICE1::LoggerIF*> loggers_;
};

// A full cache of records that were kept back, written out by a record of level 0.
class ServiceDump : public ServiceRecords {
  public:
    explicit ServiceDump(const Job& job) : ServiceRecords(job) {}

    void Prepare() override;
    void Record(int category, int number) override;
};

}  // namespace NS_BENCH
