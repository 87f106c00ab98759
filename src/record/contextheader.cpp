#include "record/contextheader.h"

#include <algorithm>
#include <cstring>

#include "base/copytext.h"
#include "util/threadcontext.h"

namespace NS_LOG_SERVICE1 {
namespace {

NS_UTIL::ThreadContextInfo ThreadContext() {
    return NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext();
}

constexpr std::string_view kThreadLabel = ",TopT:";
constexpr std::string_view kInterfaceLabel = ",If:";
constexpr std::string_view kUserLabel = ",UserMsg:";

}  // namespace

// Fetches the context anew for each item, and lets go of it before the next: an upper layer may
// complete it while the operation runs.
//
// The UUID comes last but stands first. The others are written after the place of the last UUID,
// and moved only when this one has another size: a thread's next record is often of the same
// operation.
void ContextHeader::Build() {
    char* at = memory_.data() + uuidSize_;
    at = Put(at, kThreadLabel, threadId_.Of(ThreadContext().GetThreadId()));
    at = Put(at, kInterfaceLabel, ThreadContext().GetInterfaceName());
    at = Put(at, kUserLabel, ThreadContext().GetUserInfo());
    size_ = static_cast<size_t>(at - memory_.data());
    const NS_UTIL::ThreadContextInfo operation = ThreadContext();
    const std::string& uuid = operation.GetOperUUID();
    if (uuid.size() != uuidSize_) {
        MakeRoomForUuid(uuid.size());
    }
    CopyText(memory_.data(), uuid.data(), uuid.size());
}

inline char* ContextHeader::Put(char* at, std::string_view label, std::string_view item) {
    const size_t size = label.size() + item.size();
    if (static_cast<size_t>(memory_.data() + memory_.size() - at) < size) {
        at = Grow(static_cast<size_t>(at - memory_.data()), size);
    }
    at = CopyText(at, label.data(), label.size());
    return CopyText(at, item.data(), item.size());
}

// Returns the place after the first `kept` bytes, where there is room for `size` more.
char* ContextHeader::Grow(size_t kept, size_t size) {
    memory_.resize(std::max(kept + size, 2 * memory_.size()));
    return memory_.data() + kept;
}

void ContextHeader::MakeRoomForUuid(size_t uuidSize) {
    const size_t rest = size_ - uuidSize_;
    if (uuidSize + rest > memory_.size()) {
        Grow(size_, uuidSize);
    }
    std::memmove(memory_.data() + uuidSize, memory_.data() + uuidSize_, rest);
    uuidSize_ = uuidSize;
    size_ = uuidSize + rest;
}

std::string BuildContextHeader() {
    ContextHeader header;
    header.Build();
    return std::string(header.Text());
}

}  // namespace NS_LOG_SERVICE1
