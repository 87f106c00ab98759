// The floor of records that are kept back: slots of fixed size that are used in turn.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "floors/outputfile.h"
#include "floors/recordtext.h"
#include "harness/contender.h"

namespace NS_BENCH {

// Keeps the formatted text; in the subject "dump", Record writes all slots with one system call.
class KeptSlots : public Contender {
  public:
    explicit KeptSlots(const Job& job);

    void Prepare() override;
    void Record(int category, int number) override;

  private:
    struct Slot {
        size_t size = 0;
        char text[kRecordTextSize];
    };

    void Keep(int number);
    void Dump();

    const bool dumps_;
    OutputFile file_;
    std::mutex mutex_;
    std::vector<Slot> slots_;
    size_t next_ = 0;
    std::vector<char> dump_;
};

}  // namespace NS_BENCH
