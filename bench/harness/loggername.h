// The names of many loggers, and the order in which they are asked for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "harness/job.h"

namespace NS_BENCH {

inline std::string LoggerName(int index) {
    return "managed_element_session_" + std::to_string(index);
}

// The names that a job asks for: all of them, or some that are spread over all.
class AskedNames {
  public:
    explicit AskedNames(const Job& job) {
        const int asked = job.asked == 0 ? job.count : job.asked;
        for (int i = 0; i < asked; ++i) {
            names_.push_back(LoggerName(i * (job.count / asked)));
        }
    }

    // Some name for each number, spread so that no cache knows the next one.
    const std::string& At(int number) const {
        return names_[static_cast<size_t>(static_cast<uint32_t>(number) * 2654435761U) %
                      names_.size()];
    }

  private:
    std::vector<std::string> names_;
};

}  // namespace NS_BENCH
