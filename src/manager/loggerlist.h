// All loggers of the process.
#pragma once

#include <deque>
#include <memory>

#include "base/lockguard.h"
#include "base/mutex.h"
#include "logger/logger.h"
#include "manager/loggerindex.h"

namespace NS_LOG_SERVICE1 {

// Owns the loggers, in the order of their creation. Finding one takes constant time.
//
// Thread safety: any thread may call any operation. Each holds the list's mutex throughout, and
// takes each logger's own lock under it.
class LoggerList {
  public:
    ~LoggerList();

    // Returns the logger of that name. When there is none, adds and returns the one that `make`
    // makes, or returns null when it makes none.
    template <class Maker>
    Logger* FindOrAdd(const LoggerName& name, Maker make) EXCLUDES(mutex_) {
        const LockGuard<Mutex> guard(mutex_);
        Logger* const found = index_.Find(name);
        return found != nullptr ? found : Add(make());
    }

    // Around a fork: the list's mutex is held meanwhile. The loggers' own are not, they may be
    // many: each guards one atomic field, and is made anew in the child.
    void BeforeFork() { mutex_.BeforeFork(); }
    void AfterForkInParent() { mutex_.AfterForkInParent(); }
    void AfterForkInChild() NO_THREAD_SAFETY_ANALYSIS;

    // Switches `level` for every logger, in order. Reports each logger that refuses and continues.
    // For a level without a switch, the first logger throws std::out_of_range.
    void EnableAll(uint32_t level) EXCLUDES(mutex_);
    void DisableAll(uint32_t level) EXCLUDES(mutex_);

    // Calls `operation` with the logger of that name and returns its result, or returns 0 when
    // there is none. Passes on what the operation throws.
    template <class Operation>
    int WithLogger(const LoggerName& name, Operation operation) EXCLUDES(mutex_) {
        const LockGuard<Mutex> guard(mutex_);
        Logger* const found = index_.Find(name);
        return found == nullptr ? 0 : static_cast<int>(operation(*found));
    }

    // Calls `visit` with each logger, in order.
    template <class Visitor>
    void ForEach(Visitor visit) EXCLUDES(mutex_) {
        const LockGuard<Mutex> guard(mutex_);
        for (const std::unique_ptr<Logger>& logger : loggers_) {
            visit(*logger);
        }
    }

  private:
    // Returns the logger, which may be null.
    Logger* Add(std::unique_ptr<Logger> made) REQUIRES(mutex_);

    Mutex mutex_;
    std::deque<std::unique_ptr<Logger>> loggers_ GUARDED_BY(mutex_);
    LoggerIndex index_ GUARDED_BY(mutex_);
};

}  // namespace NS_LOG_SERVICE1
