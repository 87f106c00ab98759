// The memory that one logging call needs beside its record.
#pragma once

#include <string>

#include "base/nodestructor.h"
#include "base/objectpool.h"
#include "channel/framebuffer.h"
#include "channel/framestamps.h"
#include "record/contextheader.h"
#include "record/packedrecord.h"

namespace NS_LOG_SERVICE1 {

// Borrowed by each call and used again by the next: a call allocates nothing once its thread has
// logged a record of that size. Memory beyond that of usual records is given back.
//
// Thread safety: none; a call has it alone.
struct CallMemory {
    std::string converted;  // the detail, where it had to be converted
    ContextHeader context;
    FrameStamps stamps;
    FrameBuffer frame;
    PackedRecord spare;
};

// A CallMemory for the length of a call.
class BorrowedCallMemory {
  public:
    BorrowedCallMemory() : memory_(Pool()) {}
    ~BorrowedCallMemory() {
        if (HasLarge()) {
            FreeLarge();
        }
    }

    BorrowedCallMemory(const BorrowedCallMemory&) = delete;
    BorrowedCallMemory& operator=(const BorrowedCallMemory&) = delete;

    CallMemory& operator*() const { return *memory_; }
    CallMemory* operator->() const { return &*memory_; }

    // Frees what no call has in use.
    static void FreeSpares();

  private:
    // More than usual records need. Each thread may keep as much.
    static constexpr size_t kKeptSize = size_t{16} * 1024;

    // A thread may log while the process exits.
    static ObjectPool<CallMemory>& Pool() {
        static NoDestructor<ObjectPool<CallMemory>> pool;
        return *pool;
    }

    bool HasLarge() const {
        const CallMemory& memory = *memory_;
        return memory.converted.capacity() > kKeptSize || memory.context.Capacity() > kKeptSize ||
               memory.frame.Capacity() > kKeptSize || memory.spare.Capacity() > kKeptSize;
    }

    // Not inlined: most calls have nothing large.
    __attribute__((noinline)) void FreeLarge();

    Borrowed<CallMemory> memory_;
};

}  // namespace NS_LOG_SERVICE1
