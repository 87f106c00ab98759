#include "diagnostic/logproxycache.h"

#include <string>

#include "bundlemgr/bundlemgr.h"
#include "diagnostic/defaultlogproxy.h"

namespace NS_LOG_SERVICE1 {

using NS_BUNDLEMGR1::BundleMgr;
using NS_BUNDLEMGR1::LogProxy;
using NS_BUNDLEMGR1::LogProxyProvider;

const char* const kBundleName = "qv_base_bundle";
const char* const kServiceName = "qv_base_log";

LogProxy* LogProxyCache::Get() {
    LogProxy* proxy = proxy_.load(std::memory_order_acquire);
    return proxy != nullptr ? proxy : Ask();
}

LogProxy* LogProxyCache::Ask() {
    LogProxy* proxy = nullptr;
    if (LogProxyProvider* provider = BundleMgr::Instance()->GetLogProxyProvider()) {
        proxy = provider->GetLogProxy(std::string(kBundleName) + kServiceName);
    }
    const bool offered = proxy != nullptr;
    if (!offered) {
        proxy = new NS_BUNDLEMGR1::DefaultLogProxy;  // lives as long as the process
    }
    // Cached before it is told its names: telling it may come back here for a diagnostic.
    proxy_.store(proxy, std::memory_order_release);
    if (offered) {
        proxy->SetBundleName(kBundleName);
        proxy->SetServiceName(kServiceName);
    }
    return proxy;
}

LogProxy* GetLogProxy() {
    static LogProxyCache cache;
    return cache.Get();
}

}  // namespace NS_LOG_SERVICE1
