// Records in the order of their arrival, packed into memory that is used again and again.
#pragma once

#include <cstddef>
#include <list>
#include <memory>

#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

// Made so that its owner needs no allocation while it holds the lock that guards the queue: the
// owner makes chunks outside the lock and adds them, appends into them, and frees outside the lock
// what Clear hands back.
//
// Thread safety: none; the owner's lock guards it.
class RecordQueue {
  public:
    struct Chunk {
        std::unique_ptr<std::byte[]> bytes;
        size_t size = 0;
        size_t used = 0;
    };
    // A list, so that chunks can be handed over without an allocation.
    using Chunks = std::list<Chunk>;

    class Iterator {
      public:
        // The texts of the record live until the queue is cleared.
        LogRecord operator*() const;
        Iterator& operator++();
        bool operator==(const Iterator& other) const {
            return chunk_ == other.chunk_ && offset_ == other.offset_;
        }
        bool operator!=(const Iterator& other) const { return !(*this == other); }

      private:
        friend class RecordQueue;
        explicit Iterator(Chunks::const_iterator chunk) : chunk_(chunk) {}

        Chunks::const_iterator chunk_;
        size_t offset_ = 0;
    };

    // One chunk in which a record of this packed size fits, as a list to be handed to AddChunk.
    static Chunks MakeChunk(size_t packedSize);

    // Whether a record of this packed size can be appended without another chunk.
    bool HasRoomFor(size_t packedSize) const;

    // Takes over the chunk in `chunk`, which is filled next.
    void AddChunk(Chunks& chunk);

    // Appends a copy of the record. HasRoomFor(PackedSize(record)) holds.
    void Append(const LogRecord& record);

    // Empties the queue but keeps its chunks, up to a bound, for records to come; hands back the
    // others, and those that were made for an outsized record, for the caller to free.
    [[nodiscard]] Chunks Clear();

    // Hands all records over to `empty`, a queue without records. Empty chunks stay here, so that
    // the next record finds one.
    void MoveRecordsTo(RecordQueue& empty) noexcept;

    // Takes chunks of `cleared`, a queue without records, for records to come, up to the bound.
    void TakeChunks(RecordQueue& cleared);

    size_t Count() const { return count_; }

    Iterator begin() const { return Iterator(used_.begin()); }
    Iterator end() const { return Iterator(used_.end()); }

  private:
    bool LastChunkHasRoomFor(size_t packedSize) const;

    // The chunks that hold records, at least one each; the last one is being filled.
    Chunks used_;
    // Empty chunks; the first one is filled next.
    Chunks spare_;
    size_t count_ = 0;
};

}  // namespace NS_LOG_SERVICE1
