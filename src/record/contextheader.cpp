#include "record/contextheader.h"

#include <charconv>
#include <limits>

#include "util/threadcontext.h"

namespace NS_LOG_SERVICE1 {
namespace {

NS_UTIL::ThreadContextInfo ThreadContext() {
    return NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext();
}

}  // namespace

// Fetches the context anew for each item: an upper layer may complete it while the operation runs.
void BuildContextHeader(std::string& header) {
    char number[std::numeric_limits<int>::digits10 + 2];
    const auto numberEnd =
        std::to_chars(number, number + sizeof number, ThreadContext().GetThreadId()).ptr;
    const NS_UTIL::ThreadContextInfo interfaceContext = ThreadContext();
    const std::string& interfaceName = interfaceContext.GetInterfaceName();
    const NS_UTIL::ThreadContextInfo userContext = ThreadContext();
    const std::string& userInfo = userContext.GetUserInfo();
    const NS_UTIL::ThreadContextInfo operationContext = ThreadContext();

    header.assign(operationContext.GetOperUUID());
    header.append(",TopT:").append(number, numberEnd);
    header.append(",If:").append(interfaceName);
    header.append(",UserMsg:").append(userInfo);
}

std::string BuildContextHeader() {
    std::string header;
    BuildContextHeader(header);
    return header;
}

}  // namespace NS_LOG_SERVICE1
