#include "record/recordqueue.h"

#include <algorithm>
#include <utility>

#include "record/packedrecord.h"

namespace NS_LOG_SERVICE1 {
namespace {

// Some 250 records of the usual size.
constexpr size_t kChunkSize = size_t{64} * 1024;

// The maximum number of empty chunks that are kept: enough for a full queue of the default length
// and usual records.
constexpr size_t kSpareChunks = 256;

size_t TextBytesOf(const LogRecord& record) {
    return record.file.size() + record.function.size() + record.detail.size() +
           record.context.size();
}

}  // namespace

LogRecord RecordQueue::Iterator::operator*() const {
    return Unpack(chunk_->bytes.get() + offset_);
}

RecordQueue::Iterator& RecordQueue::Iterator::operator++() {
    offset_ += PackedSizeAt(chunk_->bytes.get() + offset_);
    if (offset_ == chunk_->used) {
        ++chunk_;
        offset_ = 0;
    }
    return *this;
}

RecordQueue::Chunks RecordQueue::MakeChunk(size_t packedSize) {
    Chunks chunk(1);
    chunk.front().size = std::max(packedSize, kChunkSize);
    chunk.front().bytes.reset(new std::byte[chunk.front().size]);
    return chunk;
}

bool RecordQueue::LastChunkHasRoomFor(size_t packedSize) const {
    return !used_.empty() && used_.back().size - used_.back().used >= packedSize;
}

bool RecordQueue::HasRoomFor(size_t packedSize) const {
    return LastChunkHasRoomFor(packedSize) ||
           (!spare_.empty() && spare_.front().size >= packedSize);
}

void RecordQueue::AddChunk(Chunks& chunk) {
    spare_.splice(spare_.begin(), chunk);
}

void RecordQueue::Append(const LogRecord& record) {
    const size_t packedSize = PackedSize(record);
    if (!LastChunkHasRoomFor(packedSize)) {
        used_.splice(used_.end(), spare_, spare_.begin());
    }
    Chunk& chunk = used_.back();
    Pack(record, chunk.bytes.get() + chunk.used);
    chunk.used += packedSize;
    ++count_;
    textBytes_ += TextBytesOf(record);
}

RecordQueue::Chunks RecordQueue::Clear() {
    Chunks surplus;
    while (!used_.empty()) {
        used_.front().used = 0;
        const bool kept = used_.front().size == kChunkSize && spare_.size() < kSpareChunks;
        Chunks& target = kept ? spare_ : surplus;
        target.splice(target.end(), used_, used_.begin());
    }
    count_ = 0;
    textBytes_ = 0;
    return surplus;
}

void RecordQueue::MoveRecordsTo(RecordQueue& empty) noexcept {
    used_.swap(empty.used_);
    std::swap(count_, empty.count_);
    std::swap(textBytes_, empty.textBytes_);
}

void RecordQueue::AppendRecordsTo(RecordQueue& other) noexcept {
    other.used_.splice(other.used_.end(), used_);
    other.count_ += std::exchange(count_, 0);
    other.textBytes_ += std::exchange(textBytes_, 0);
}

void RecordQueue::TakeChunks(RecordQueue& cleared) {
    while (!cleared.spare_.empty() && spare_.size() < kSpareChunks) {
        spare_.splice(spare_.end(), cleared.spare_, cleared.spare_.begin());
    }
}

}  // namespace NS_LOG_SERVICE1
