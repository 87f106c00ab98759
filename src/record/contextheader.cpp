#include "record/contextheader.h"

#include <charconv>
#include <limits>
#include <string_view>

#include "util/threadcontext.h"

namespace NS_LOG_SERVICE1 {
namespace {

NS_UTIL::ThreadContextInfo ThreadContext() {
    return NS_UTIL::ThreadContextMgr::Instance()->GetThreadContext();
}

}  // namespace

// Fetches the context anew for each item: an upper layer may complete it while the operation runs.
std::string BuildContextHeader() {
    constexpr std::string_view threadLabel = ",TopT:";
    constexpr std::string_view interfaceLabel = ",If:";
    constexpr std::string_view userLabel = ",UserMsg:";

    char number[std::numeric_limits<int>::digits10 + 2];
    const auto numberEnd =
        std::to_chars(number, number + sizeof number, ThreadContext().GetThreadId()).ptr;
    const std::string_view threadId(number, static_cast<size_t>(numberEnd - number));

    const NS_UTIL::ThreadContextInfo interfaceContext = ThreadContext();
    const std::string& interfaceName = interfaceContext.GetInterfaceName();
    const NS_UTIL::ThreadContextInfo userContext = ThreadContext();
    const std::string& userInfo = userContext.GetUserInfo();
    const NS_UTIL::ThreadContextInfo operationContext = ThreadContext();
    const std::string& uuid = operationContext.GetOperUUID();

    std::string header;
    header.reserve(uuid.size() + threadLabel.size() + threadId.size() + interfaceLabel.size() +
                   interfaceName.size() + userLabel.size() + userInfo.size());
    header.append(uuid).append(threadLabel).append(threadId);
    header.append(interfaceLabel).append(interfaceName);
    header.append(userLabel).append(userInfo);
    return header;
}

}  // namespace NS_LOG_SERVICE1
