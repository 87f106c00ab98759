// Records in the order of their arrival, packed into chunks of memory that are reused.
#pragma once

#include <cstddef>
#include <list>
#include <memory>

#include "record/logrecord.h"

namespace NS_LOG_SERVICE1 {

// The owner neither allocates nor frees memory while it holds the lock that guards the queue. It
// makes chunks before it takes the lock, and frees what Clear returns after it has released it.
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
        // The texts of the record are valid until the queue is cleared.
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

    // Makes a chunk that has room for a record of this packed size, as a list for AddChunk.
    static Chunks MakeChunk(size_t packedSize);

    // Whether a record of this packed size can be appended without another chunk.
    bool HasRoomFor(size_t packedSize) const;

    // Moves the chunk out of `chunk`. It is filled next.
    void AddChunk(Chunks& chunk);

    // Appends a copy of the record. REQUIRES: HasRoomFor(PackedSize(record)).
    void Append(const LogRecord& record);

    // Removes all records. Keeps a bounded number of chunks for later records. Returns the others,
    // and those that were made for an outsized record; the caller frees them.
    [[nodiscard]] Chunks Clear();

    // Moves all records to `empty`. Empty chunks stay here for the next records. REQUIRES: `empty`
    // has no records.
    void MoveRecordsTo(RecordQueue& empty) noexcept;

    // Moves all records to the end of `other`, with their chunks.
    void AppendRecordsTo(RecordQueue& other) noexcept;

    // Moves chunks of `cleared` here, up to the bound, for later records. REQUIRES: `cleared` has
    // no records.
    void TakeChunks(RecordQueue& cleared);

    size_t Count() const { return count_; }

    // The texts of all records in bytes: what their clients have chosen of the queue's memory.
    size_t TextBytes() const { return textBytes_; }

    Iterator begin() const { return Iterator(used_.begin()); }
    Iterator end() const { return Iterator(used_.end()); }

  private:
    bool LastChunkHasRoomFor(size_t packedSize) const;

    // The chunks that hold at least one record. The last one is filled at present.
    Chunks used_;
    // Empty chunks; the first one is filled next.
    Chunks spare_;
    size_t count_ = 0;
    size_t textBytes_ = 0;
};

}  // namespace NS_LOG_SERVICE1
