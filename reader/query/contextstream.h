// The records around hits.
#pragma once

#include <deque>
#include <memory>

#include "query/recordstream.h"

namespace NS_LOG_READER {

// Which hits of a stream are wanted: not so many first ones, and so many of the others.
struct HitRange {
    uint64_t leftOut = 0;
    uint64_t most = UINT64_MAX;
};

// Passes on the hits of a stream that has everything, with up to `before` records before and
// `after` records after each. Every record comes once. Hits that are not wanted do not come, and
// nothing beyond them.
class ContextStream final : public RecordStream {
  public:
    ContextStream(std::unique_ptr<RecordStream> all, size_t before, size_t after,
                  HitRange hits = {});

    bool Next(Found& found) override;
    Time FirstTime() const override { return all_->FirstTime(); }

  private:
    std::unique_ptr<RecordStream> all_;
    const size_t before_;
    const size_t after_;
    HitRange hitsLeft_;
    size_t afterLeft_ = 0;
    std::deque<KeptRecord> kept_;  // not shown so far; with a hit at its end: to be shown
    bool drains_ = false;
    bool hasGivenFirst_ = false;
};

}  // namespace NS_LOG_READER
