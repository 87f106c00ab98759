// Messages that only a newer collector can read.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>

#include "stream/streamconnection.h"

namespace NS_LOG_FLEET {

// What was reported of them. Collectors of one program share it, so that each subject is reported
// once.
//
// Thread safety: all operations.
class NewerMessages {
  public:
    // Whether the report, which names the subject, is the first of its kind, as far as is
    // remembered.
    bool IsFirst(const std::string& report);

  private:
    std::mutex mutex_;
    std::set<std::string> reports_;
};

// Whether the message may come again: no more than `most` of its consumer are outstanding, or it
// has waited before and keeps its place. Throws StreamError.
bool MayWait(natsMsg* message, jsCtx* streams, int64_t most);

}  // namespace NS_LOG_FLEET
