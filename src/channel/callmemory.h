// The memory that one logging call needs beside its record.
#pragma once

#include <string>

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
    BorrowedCallMemory();
    ~BorrowedCallMemory();

    BorrowedCallMemory(const BorrowedCallMemory&) = delete;
    BorrowedCallMemory& operator=(const BorrowedCallMemory&) = delete;

    CallMemory& operator*() const { return *memory_; }
    CallMemory* operator->() const { return &*memory_; }

    // Frees what no call has in use.
    static void FreeSpares();

  private:
    Borrowed<CallMemory> memory_;
};

}  // namespace NS_LOG_SERVICE1
