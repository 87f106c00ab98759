// Floors of what is no record: finding a logger, printing a message.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "floors/outputfile.h"
#include "harness/asntext.h"
#include "harness/contender.h"
#include "harness/loggername.h"

namespace NS_BENCH {

// Finds one of job.count names in a table under a mutex, of the job.asked ones.
class NameTable : public Contender {
  public:
    explicit NameTable(const Job& job);

    void Record(int category, int number) override;

  private:
    std::mutex mutex_;
    const AskedNames asked_;
    std::unordered_map<std::string, int> table_;
    volatile int found_ = 0;
};

// Prints a message of job.count bytes field by field into memory, and writes it with one system
// call.
class PrintedMessage : public Contender {
  public:
    explicit PrintedMessage(const Job& job);

    void Record(int category, int number) override;

  private:
    const std::string path_;
    const std::vector<AsnField> fields_;
    std::vector<char> text_;
    OutputFile file_;
};

}  // namespace NS_BENCH
