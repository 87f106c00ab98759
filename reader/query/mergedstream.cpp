#include "query/mergedstream.h"

#include <algorithm>
#include <utility>

namespace NS_LOG_READER {

MergedStream::MergedStream(std::vector<std::unique_ptr<RecordStream>> streams, bool newestFirst)
    : streams_(std::move(streams)), newestFirst_(newestFirst) {
    for (size_t i = 0; i < streams_.size(); ++i) {
        Head head;
        head.time = streams_[i]->FirstTime();
        head.stream = i;
        Push(std::move(head));
    }
}

Time MergedStream::FirstTime() const {
    return heads_.empty() ? 0 : heads_.front().time;
}

bool MergedStream::ComesLater(const Head& a, const Head& b) const {
    if (a.time != b.time) {
        return newestFirst_ ? a.time < b.time : a.time > b.time;
    }
    // A stream that was not asked yet may have a record of that time.
    return newestFirst_ ? a.stream < b.stream : a.stream > b.stream;
}

void MergedStream::Push(Head head) {
    heads_.push_back(std::move(head));
    std::push_heap(heads_.begin(), heads_.end(),
                   [this](const Head& a, const Head& b) { return ComesLater(a, b); });
}

// Reads the next record of a head's stream. False: it has ended.
bool MergedStream::Advance(Head& head) {
    head.isRead = streams_[head.stream]->Next(head.found);
    if (!head.isRead) {
        streams_[head.stream].reset();
        return false;
    }
    head.time = head.found.order;
    return true;
}

bool MergedStream::Next(Found& found) {
    const auto later = [this](const Head& a, const Head& b) { return ComesLater(a, b); };
    while (!heads_.empty()) {
        if (heads_.front().isRead && !isGiven_) {
            found = heads_.front().found;
            isGiven_ = true;
            return true;
        }
        std::pop_heap(heads_.begin(), heads_.end(), later);
        Head head = std::move(heads_.back());
        heads_.pop_back();
        const bool isThere = Advance(head);
        isGiven_ = false;
        if (isThere) {
            Push(std::move(head));
        }
    }
    return false;
}

}  // namespace NS_LOG_READER
