#include "record/keptrecords.h"

#include <algorithm>
#include <utility>

namespace NS_LOG_SERVICE1 {
namespace {

// Reserved at the start, so that a usual number of records allocates nothing under the owner's
// lock. Not the whole capacity, which may be any number.
constexpr size_t kReservedRecords = 4096;

}  // namespace

KeptRecords::KeptRecords(size_t capacity) : capacity_(capacity) {
    records_.reserve(std::min(capacity_, kReservedRecords));
}

PackedRecord KeptRecords::Append(PackedRecord record) {
    if (capacity_ == 0) {
        return record;
    }
    if (records_.size() < capacity_) {
        records_.push_back(std::move(record));
        return PackedRecord();
    }
    std::swap(records_[oldest_], record);
    if (++oldest_ == capacity_) {
        oldest_ = 0;
    }
    return record;
}

void KeptRecords::Swap(KeptRecords& other) noexcept {
    std::swap(capacity_, other.capacity_);
    std::swap(records_, other.records_);
    std::swap(oldest_, other.oldest_);
}

}  // namespace NS_LOG_SERVICE1
