// A logger that keeps what reaches its Log.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "logger/logger.h"

namespace NS_TEST {

struct LoggedCall {
    std::string file;
    std::string function;
    unsigned int line = 0;
    int level = 0;
    std::string text;
};

inline bool operator==(const LoggedCall& one, const LoggedCall& other) {
    return one.file == other.file && one.function == other.function && one.line == other.line &&
           one.level == other.level && one.text == other.text;
}

// Writes a record only when told to.
//
// Thread safety: any thread may log; the public fields are set before.
class RecordingLogger : public NS_LOG_SERVICE1::Logger {
  public:
    using Logger::Logger;

    void Log(const std::string& file, const std::string& function, unsigned int line, int level,
             const std::string& text) override {
        {
            const std::lock_guard<std::mutex> guard(mutex_);
            calls_.push_back({file, function, line, level, text});
        }
        if (onLog) {
            onLog();
        }
        if (writes) {
            Logger::Log(file, function, line, level, text);
        }
    }

    std::vector<LoggedCall> Calls() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return calls_;
    }

    // The text of the last call.
    std::string LastText() const {
        const std::lock_guard<std::mutex> guard(mutex_);
        return calls_.empty() ? "nothing was logged" : calls_.back().text;
    }

    std::function<void()> onLog;  // may throw
    bool writes = false;

  private:
    mutable std::mutex mutex_;
    std::vector<LoggedCall> calls_;  // guarded by mutex_
};

}  // namespace NS_TEST
