// A record that owns its texts, packed into bytes.
#pragma once

#include <cstddef>
#include <memory>

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

// A packed record in its own block of memory. It is movable, so that a container's owner can make
// and free records outside its lock.
class PackedRecord {
  public:
    PackedRecord() = default;
    explicit PackedRecord(const LogRecord& record) : bytes_(new std::byte[PackedSize(record)]) {
        Pack(record, bytes_.get());
    }

    // REQUIRES: it is not empty. The texts are valid as long as this object lives.
    LogRecord Get() const { return Unpack(bytes_.get()); }

  private:
    std::unique_ptr<std::byte[]> bytes_;
};

}  // namespace NS_LOG_SERVICE1
