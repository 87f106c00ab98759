// Floors of direct output: each record is in the kernel when Record returns.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "floors/outputfile.h"
#include "harness/contender.h"

namespace NS_BENCH {

// Formats outside the mutex, and writes with one system call inside. In the subject "rotation" five
// files take turns.
class LockedWrite : public Contender {
  public:
    explicit LockedWrite(const Job& job);

    void Record(int category, int number) override;

  private:
    struct Target {
        explicit Target(const std::string& path) : file(path) {}
        std::mutex mutex;
        OutputFile file;
        uint32_t lastNumber = 0;
        uint32_t rotations = 0;
    };

    void RotateIfFull(Target& target) const;

    const std::string directory_;
    const bool rotates_;
    std::vector<std::unique_ptr<Target>> targets_;
};

// Where another thread writes, a record is left with it, or with who writes next: one write takes
// all that came meanwhile.
class GroupCommit : public Contender {
  public:
    explicit GroupCommit(const Job& job);

    void Record(int category, int number) override;

  private:
    struct alignas(128) Target {
        explicit Target(const std::string& path) : file(path) {}
        std::mutex mutex;                  // guards what follows, but for the file and written
        std::vector<char> pending;         // not taken by a writer yet
        uint64_t left = 0;                 // records that were ever left in pending
        bool writing = false;              // some thread writes
        std::atomic<uint64_t> written{0};  // records that are in the kernel
        OutputFile file;                   // the writer's
        std::vector<char> batch;           // the writer's
    };

    static void WriteAll(Target& target);

    std::vector<std::unique_ptr<Target>> targets_;
};

}  // namespace NS_BENCH
