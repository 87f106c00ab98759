#include "record/contextheader.h"

#include <string_view>

#include "base/copytext.h"
#include "util/threadcontext.h"

namespace NS_LOG_SERVICE1 {
namespace {

NS_UTIL::ThreadContextInfo ThreadContext() {
    return NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext();
}

// Writes pieces one after the other into memory that is large enough.
class PieceWriter {
  public:
    explicit PieceWriter(char* at) : at_(at) {}
    PieceWriter& operator<<(std::string_view piece) {
        at_ = CopyText(at_, piece.data(), piece.size());
        return *this;
    }

  private:
    char* at_;
};

constexpr std::string_view kThreadLabel = ",TopT:";
constexpr std::string_view kInterfaceLabel = ",If:";
constexpr std::string_view kUserLabel = ",UserMsg:";

}  // namespace

// Fetches the context anew for each item: an upper layer may complete it while the operation runs.
void ContextHeader::Build() {
    const std::string_view threadId = threadId_.Of(ThreadContext().GetThreadId());
    const NS_UTIL::ThreadContextInfo interfaceContext = ThreadContext();
    const std::string_view interfaceName = interfaceContext.GetInterfaceName();
    const NS_UTIL::ThreadContextInfo userContext = ThreadContext();
    const std::string_view userInfo = userContext.GetUserInfo();
    const NS_UTIL::ThreadContextInfo operationContext = ThreadContext();
    const std::string_view uuid = operationContext.GetOperUUID();

    // A string that has its size already is not touched by this: a thread's next record is often
    // of the same operation.
    const size_t size = uuid.size() + kThreadLabel.size() + threadId.size() +
                        kInterfaceLabel.size() + interfaceName.size() + kUserLabel.size() +
                        userInfo.size();
    if (text_.size() != size) {
        text_.resize(size);
    }
    PieceWriter(text_.data()) << uuid << kThreadLabel << threadId << kInterfaceLabel
                              << interfaceName << kUserLabel << userInfo;
}

std::string BuildContextHeader() {
    ContextHeader header;
    header.Build();
    return std::string(header.Text());
}

}  // namespace NS_LOG_SERVICE1
