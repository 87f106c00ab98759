#include "query/mergedstream.h"

#include <algorithm>
#include <utility>

namespace NS_LOG_READER {

MergedStream::MergedStream(std::vector<std::unique_ptr<RecordStream>> streams, bool newestFirst)
    : streams_(std::move(streams)), newestFirst_(newestFirst), heads_(streams_.size()) {
    for (size_t i = 0; i < streams_.size(); ++i) {
        heads_[i].time = streams_[i]->FirstTime();
        Push(i);
    }
}

Time MergedStream::FirstTime() const {
    return order_.empty() ? 0 : heads_[order_.front()].time;
}

bool MergedStream::ComesLater(size_t a, size_t b) const {
    const Time first = heads_[a].time;
    const Time second = heads_[b].time;
    if (first != second) {
        return newestFirst_ ? first < second : first > second;
    }
    return newestFirst_ ? a < b : a > b;
}

void MergedStream::Push(size_t stream) {
    order_.push_back(stream);
    std::push_heap(order_.begin(), order_.end(),
                   [this](size_t a, size_t b) { return ComesLater(a, b); });
}

// Reads the next record of a stream. False: it has ended.
bool MergedStream::Advance(size_t stream) {
    Head& head = heads_[stream];
    head.isRead = streams_[stream]->Next(head.found);
    if (!head.isRead) {
        streams_[stream].reset();
        return false;
    }
    head.time = head.found.order;
    return true;
}

bool MergedStream::Next(Found& found) {
    while (!order_.empty()) {
        const size_t next = order_.front();
        if (heads_[next].isRead && !isGiven_) {
            found = heads_[next].found;
            isGiven_ = true;
            return true;
        }
        std::pop_heap(order_.begin(), order_.end(),
                      [this](size_t a, size_t b) { return ComesLater(a, b); });
        order_.pop_back();
        isGiven_ = false;
        if (Advance(next)) {
            Push(next);
        }
    }
    return false;
}

}  // namespace NS_LOG_READER
