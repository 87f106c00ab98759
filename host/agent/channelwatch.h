// Notices from the books of the channels what an operator has to know at once.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "qv_base_log/logmaintenanceinterface.h"

namespace NS_REFERENCE_HOST {

// Tells the first failure of a channel, each hour that it lasts, and its end. Tells also, at most
// once an hour for each channel, that records were lost because their file was emptied.
//
// Thread safety: one thread.
class ChannelWatch {
  public:
    using Clock = std::chrono::steady_clock;
    using Tell = std::function<void(const std::string& text)>;

    explicit ChannelWatch(Tell tell);

    // Compares the books with those of the last look.
    void Look(const std::vector<NS_LOG_SERVICE1::ChannelBooks>& books, Clock::time_point now);

    // Whether a record has been lost: dropped, or overwritten. Records of switched-off levels that
    // newer ones have pushed out are none: that is what happens to them in normal work.
    bool HasLost() const { return hasLost_; }

  private:
    // What has been told of one channel.
    struct Channel {
        uint64_t failures = 0;
        uint64_t overwritten = 0;
        bool isFailing = false;
        Clock::time_point failingSince;
        Clock::time_point failureTold;
        Clock::time_point overwritingTold;
    };

    void LookForFailure(const NS_LOG_SERVICE1::ChannelBooks& books, Channel& channel,
                        Clock::time_point now);
    void LookForOverwriting(const NS_LOG_SERVICE1::ChannelBooks& books, Channel& channel,
                            Clock::time_point now);

    const Tell tell_;
    std::map<std::string, Channel> channels_;
    bool hasLost_ = false;
};

}  // namespace NS_REFERENCE_HOST
