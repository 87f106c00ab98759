// Many loggers: finding one, and switching a level of all of them.
#pragma once

#include <string>

#include "harness/contender.h"
#include "harness/loggername.h"
#include "service/servicebundle.h"

namespace NS_BENCH {

// Subject "getlogger": finds one of job.count loggers that exist, of the job.asked ones.
class ServiceLoggers : public Contender {
  public:
    explicit ServiceLoggers(const Job& job);

    void Record(int category, int number) override;

  protected:
    ServiceBundle& Bundle() { return bundle_; }

  private:
    ServiceBundle bundle_;
    const AskedNames asked_;
};

// Subject "switchall": switches level 2 of job.count loggers off and on in turn.
class ServiceSwitching : public ServiceLoggers {
  public:
    explicit ServiceSwitching(const Job& job) : ServiceLoggers(job) {}

    void Record(int category, int number) override;
};

// Subject "start": loads, starts, stops and unloads the service.
class ServiceStart : public Contender {
  public:
    explicit ServiceStart(const Job& job) : directory_(job.directory) {}

    void Record(int category, int number) override;

  private:
    const std::string directory_;
};

}  // namespace NS_BENCH
