#include "channel/callmemory.h"

#include "base/nodestructor.h"

namespace NS_LOG_SERVICE1 {
namespace {

// More than usual records need. Each thread may keep as much.
constexpr size_t kKeptSize = size_t{16} * 1024;

// A thread may log while the process exits.
ObjectPool<CallMemory>& Pool() {
    static NoDestructor<ObjectPool<CallMemory>> pool;
    return *pool;
}

bool HasLarge(const CallMemory& memory) {
    return memory.converted.capacity() > kKeptSize || memory.context.Capacity() > kKeptSize ||
           memory.frame.Capacity() > kKeptSize || memory.spare.Capacity() > kKeptSize;
}

// Not inlined: most calls have nothing large.
__attribute__((noinline)) void FreeLarge(CallMemory& memory) {
    if (memory.converted.capacity() > kKeptSize) {
        std::string().swap(memory.converted);
    }
    memory.context.FreeIfLarger(kKeptSize);
    memory.frame.Clear(kKeptSize);
    memory.spare.FreeIfLarger(kKeptSize);
}

}  // namespace

BorrowedCallMemory::BorrowedCallMemory() : memory_(Pool()) {}

BorrowedCallMemory::~BorrowedCallMemory() {
    if (HasLarge(*memory_)) {
        FreeLarge(*memory_);
    }
}

void BorrowedCallMemory::FreeSpares() {
    Pool().Clear();
}

}  // namespace NS_LOG_SERVICE1
