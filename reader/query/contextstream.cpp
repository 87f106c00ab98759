#include "query/contextstream.h"

#include <utility>

namespace NS_LOG_READER {

ContextStream::ContextStream(std::unique_ptr<RecordStream> all, size_t before, size_t after,
                             HitRange hits)
    : all_(std::move(all)), before_(before), after_(after), hitsLeft_(hits) {}

bool ContextStream::Next(Found& found) {
    if (hasGivenFirst_) {
        kept_.pop_front();
        hasGivenFirst_ = false;
        drains_ = !kept_.empty();
    }
    while (!drains_) {
        const bool isOver = hitsLeft_.most == 0;
        if ((isOver && afterLeft_ == 0) || !all_->Next(found) || (isOver && found.isHit)) {
            return false;
        }
        if (found.isHit && hitsLeft_.leftOut > 0) {
            --hitsLeft_.leftOut;
            kept_.clear();
            continue;
        }
        if (!found.isHit && afterLeft_ > 0) {
            --afterLeft_;
            return true;
        }
        if (found.isHit) {
            --hitsLeft_.most;
            afterLeft_ = after_;
            if (kept_.empty()) {
                return true;
            }
            drains_ = true;
        }
        kept_.emplace_back(found);
        if (!drains_ && kept_.size() > before_) {
            kept_.pop_front();
        }
    }
    found = kept_.front().Get();
    hasGivenFirst_ = true;
    return true;
}

}  // namespace NS_LOG_READER
