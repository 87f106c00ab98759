// Every logger that was ever handed out.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/lockguard.h"
#include "base/mutex.h"
#include "logger/logger.h"

namespace NS_LOG_SERVICE1 {

// The three strings that identify a logger.
struct LoggerName {
    std::string_view first;
    std::string_view second;
    std::string_view category;

    bool operator==(const LoggerName& other) const {
        return first == other.first && second == other.second && category == other.category;
    }
};

// Owns the loggers and keeps them in the order of their creation; finding one takes the same time
// however many there are.
//
// Thread safety: any thread may call any operation; one mutex is held throughout each of them, and
// each logger's own lock inside it.
class LoggerList {
  public:
    using Maker = std::function<std::unique_ptr<Logger>()>;

    ~LoggerList();

    // The logger of that name; where there is none, the one that `make` makes, or null when it
    // makes none.
    Logger* FindOrAdd(const LoggerName& name, const Maker& make) EXCLUDES(mutex_);

    // Switches `level` for every logger, in order. Reports each logger that refuses and goes on.
    // Throws std::out_of_range, from the first logger, for a level without a switch.
    void EnableAll(uint32_t level) EXCLUDES(mutex_);
    void DisableAll(uint32_t level) EXCLUDES(mutex_);

    // Calls `operation` with the logger of that name and returns its result; 0 where there is none.
    // What the operation throws passes out.
    template <class Operation>
    int WithLogger(const LoggerName& name, Operation operation) EXCLUDES(mutex_) {
        const LockGuard<Mutex> guard(mutex_);
        const auto found = index_.find(name);
        return found == index_.end() ? 0 : static_cast<int>(operation(*found->second));
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
    struct NameHash {
        size_t operator()(const LoggerName& name) const;
    };

    Mutex mutex_;
    std::deque<std::unique_ptr<Logger>> loggers_ GUARDED_BY(mutex_);
    // The names are the loggers' own.
    std::unordered_map<LoggerName, Logger*, NameHash> index_ GUARDED_BY(mutex_);
};

}  // namespace NS_LOG_SERVICE1
