// A record as packed bytes, for as long as it must be kept.
#pragma once

#include <cstddef>
#include <memory>

#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

// How many bytes the record takes when it is packed; a multiple of the alignment that packed
// records need, so that they can stand one behind the other.
size_t PackedSize(const LogRecord& record);

// Packs the record into `bytes`, which holds PackedSize(record) bytes and is aligned as `new`
// aligns. The logger's names stay behind: no file shows them.
void Pack(const LogRecord& record, std::byte* bytes);

// Reads back what Pack wrote. The texts of the result point into `bytes`.
LogRecord Unpack(const std::byte* bytes);

// The size that PackedSize gave for the record at `bytes`.
size_t PackedSizeAt(const std::byte* bytes);

// A kept record in a block of its own. Movable, so that it can be built and freed outside the lock
// that guards where it is kept.
class PackedRecord {
  public:
    PackedRecord() = default;
    explicit PackedRecord(const LogRecord& record) : bytes_(new std::byte[PackedSize(record)]) {
        Pack(record, bytes_.get());
    }

    // Not for an empty one. The texts live as long as this object.
    LogRecord Get() const { return Unpack(bytes_.get()); }

  private:
    std::unique_ptr<std::byte[]> bytes_;
};

}  // namespace NS_LOG_SERVICE1
