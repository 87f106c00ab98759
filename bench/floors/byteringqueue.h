// The floor of queued output: formatted text in memory that is used again and again.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "floors/outputfile.h"
#include "harness/contender.h"

namespace NS_BENCH {

// The thread whose record fills the queue swaps it for an empty one and writes the full one, while
// the others fill the next.
class ByteRingQueue : public Contender {
  public:
    explicit ByteRingQueue(const Job& job);

    void Record(int category, int number) override;
    void Drain() override;

  private:
    // Hands over a queue of at least `least` records.
    void Write(int least);

    std::mutex fileMutex_;  // guards what follows; taken before the other
    OutputFile file_;
    std::vector<char> full_;
    std::mutex queueMutex_;  // guards what follows
    std::vector<char> queue_;
    uint32_t lastNumber_ = 0;
    int count_ = 0;
};

}  // namespace NS_BENCH
