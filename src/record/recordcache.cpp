#include "record/recordcache.h"

#include <algorithm>
#include <utility>

namespace NS_LOG_SERVICE1 {
namespace {

// Room made before the first record comes, so that a cache of a usual size never grows under its
// owner's lock. A configured capacity can be any number; memory is not set aside for all of it.
constexpr size_t kReservedRecords = 4096;

}  // namespace

RecordCache::RecordCache(size_t capacity) : capacity_(capacity) {
    records_.reserve(std::min(capacity_, kReservedRecords));
}

PackedRecord RecordCache::Append(PackedRecord record) {
    if (capacity_ == 0) {
        return record;
    }
    if (records_.size() < capacity_) {
        records_.push_back(std::move(record));
        return PackedRecord();
    }
    std::swap(records_[oldest_], record);
    oldest_ = (oldest_ + 1) % capacity_;
    return record;
}

void RecordCache::Swap(RecordCache& other) noexcept {
    std::swap(capacity_, other.capacity_);
    std::swap(records_, other.records_);
    std::swap(oldest_, other.oldest_);
}

}  // namespace NS_LOG_SERVICE1
