// A record that owns its texts, packed into bytes.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

// Returns the size of the packed record in bytes. It is a multiple of the alignment that packed
// records need, so that one can follow the other.
size_t PackedSize(const LogRecord& record);

// Packs the record into `bytes`. The logger's names are left out: no file shows them. REQUIRES:
// `bytes` has room for PackedSize(record) bytes and the alignment of `new`.
void Pack(const LogRecord& record, std::byte* bytes);

// Returns the record that Pack wrote. Its texts point into `bytes`.
LogRecord Unpack(const std::byte* bytes);

// Returns the packed size of the record at `bytes`.
size_t PackedSizeAt(const std::byte* bytes);

// A packed record in its own block of memory, which the next record can use. It is movable, so that
// a container's owner can make and free records outside its lock.
class PackedRecord {
  public:
    PackedRecord() = default;
    explicit PackedRecord(const LogRecord& record) { Set(record); }

    // The other one is empty then, and can be used again.
    PackedRecord(PackedRecord&& other) noexcept
        : bytes_(std::move(other.bytes_)), capacity_(std::exchange(other.capacity_, 0)) {}
    PackedRecord& operator=(PackedRecord&& other) noexcept {
        bytes_ = std::move(other.bytes_);
        capacity_ = std::exchange(other.capacity_, 0);
        return *this;
    }

    // Takes over a copy of the record. Allocates only when the block is too small.
    void Set(const LogRecord& record);

    // REQUIRES: it is not empty. The texts are valid as long as this object holds the record.
    LogRecord Get() const { return Unpack(bytes_.get()); }

    // Of the block.
    size_t Capacity() const { return capacity_; }

    // Frees a block of more than `size` bytes, with its record.
    void FreeIfLarger(size_t size) {
        if (capacity_ > size) {
            bytes_.reset();
            capacity_ = 0;
        }
    }

  private:
    std::unique_ptr<std::byte[]> bytes_;
    size_t capacity_ = 0;
};

}  // namespace NS_LOG_SERVICE1
