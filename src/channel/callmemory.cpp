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

void FreeIfLarge(std::string& text) {
    if (text.capacity() > kKeptSize) {
        std::string().swap(text);
    }
}

}  // namespace

BorrowedCallMemory::BorrowedCallMemory() : memory_(Pool()) {}

BorrowedCallMemory::~BorrowedCallMemory() {
    FreeIfLarge(memory_->converted);
    FreeIfLarge(memory_->context);
    memory_->frame.Clear(kKeptSize);
    memory_->spare.FreeIfLarger(kKeptSize);
}

void BorrowedCallMemory::FreeSpares() {
    Pool().Clear();
}

}  // namespace NS_LOG_SERVICE1
