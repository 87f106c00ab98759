// What frames show of the times and threads of records.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/decimaltext.h"
#include "bundlemgr/logsupport.h"
#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

struct FrameStamp {
    std::string_view time;  // as the platform formats it
    std::string_view thread;
};

// Makes the stamps of one record after the other, in the same memory: most have the same thread.
//
// Thread safety: none.
class FrameStamps {
  public:
    // Memory for times of this length is allocated now.
    explicit FrameStamps(size_t timeSize = 0) { time_.reserve(timeSize); }

    // Valid until the next call.
    FrameStamp Of(const LogRecord& record) {
        NS_BUNDLEMGR1::GetZoneTimeStamp(record.time, time_);
        return {time_, thread_.Of(static_cast<long>(record.thread))};
    }

  private:
    std::string time_;
    DecimalText thread_;
};

}  // namespace NS_LOG_SERVICE1
