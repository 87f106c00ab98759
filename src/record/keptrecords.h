// The newest records, up to a maximum number, oldest first.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "record/packedrecord.h"

namespace NS_LOG_SERVICE1 {

// Thread safety: none; the owner's lock guards it.
class KeptRecords {
  public:
    // Keeps up to `capacity` records; with 0 every record is evicted at once.
    explicit KeptRecords(size_t capacity);

    // Appends the record and returns the one that was evicted for it: the oldest record, or
    // `record` itself when the capacity is 0. Returns an empty one while there is room. The caller
    // uses its memory for the next record, or frees it after it has released its lock.
    PackedRecord Append(PackedRecord record) {
        if (records_.size() < capacity_) {
            records_.push_back(std::move(record));
            return PackedRecord();
        }
        if (capacity_ != 0) {
            std::swap(records_[oldest_], record);
            oldest_ = oldest_ + 1 == capacity_ ? 0 : oldest_ + 1;
        }
        return record;
    }

    // Removes all records.
    void Clear() noexcept {
        records_.clear();
        oldest_ = 0;
    }

    size_t Count() const { return records_.size(); }

    // Swaps all records and the capacity with `other`.
    void Swap(KeptRecords& other) noexcept;

    // Calls `visit` with each record, oldest first.
    template <class Visitor>
    void ForEach(Visitor visit) const {
        for (size_t i = 0; i < records_.size(); ++i) {
            visit(records_[(oldest_ + i) % records_.size()].Get());
        }
    }

  private:
    size_t capacity_;
    // Grows to `capacity_` records and is a ring buffer from then on.
    std::vector<PackedRecord> records_;
    size_t oldest_ = 0;
};

}  // namespace NS_LOG_SERVICE1
