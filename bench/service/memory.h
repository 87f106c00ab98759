// What a record that waits takes of memory.
#pragma once

#include "service/records.h"

namespace NS_BENCH {

// Subject "memory"; ways "queued" and "kept". Nothing but memory is measured, by the first filling
// of the queue or the cache: later ones use the same memory again.
class ServiceMemory : public Contender {
  public:
    explicit ServiceMemory(const Job& job);

    void Record(int category, int number) override;
    void PrintMetrics() override;

  private:
    double bytesPerRecord_ = 0;
};

}  // namespace NS_BENCH
