// Several series as one, by time.
#pragma once

#include <memory>
#include <vector>

#include "query/recordstream.h"

namespace NS_LOG_READER {

// Records of equal times come in the order of the streams; the order within a stream is kept even
// where its times are not in order. A stream is not asked before its first time is due, so that
// only those are open at once that overlap.
class MergedStream final : public RecordStream {
  public:
    // `newestFirst`: the streams are such.
    MergedStream(std::vector<std::unique_ptr<RecordStream>> streams, bool newestFirst);

    bool Next(Found& found) override;
    Time FirstTime() const override;

  private:
    struct Head {
        Time time = 0;
        bool isRead = false;
        Found found;
    };

    bool ComesLater(size_t a, size_t b) const;
    void Push(size_t stream);
    bool Advance(size_t stream);

    std::vector<std::unique_ptr<RecordStream>> streams_;
    bool newestFirst_;
    std::vector<Head> heads_;    // of each stream
    std::vector<size_t> order_;  // of those that go on: a heap, the next one first
    bool isGiven_ = false;       // the first one has been given out
};

}  // namespace NS_LOG_READER
