#include "channel/callmemory.h"

namespace NS_LOG_SERVICE1 {

void BorrowedCallMemory::FreeLarge() {
    CallMemory& memory = *memory_;
    if (memory.converted.capacity() > kKeptSize) {
        std::string().swap(memory.converted);
    }
    memory.context.FreeIfLarger(kKeptSize);
    memory.frame.Clear(kKeptSize);
    memory.spare.FreeIfLarger(kKeptSize);
}

void BorrowedCallMemory::FreeSpares() {
    Pool().Clear();
}

}  // namespace NS_LOG_SERVICE1
