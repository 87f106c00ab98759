// The service's way to the platform's log proxy.
#pragma once

#include <atomic>

#include "bundlemgr/logproxy.h"

namespace NS_LOG_SERVICE1 {

// The names under which this service reports, the bundle first.
extern const char* const kBundleName;
extern const char* const kServiceName;

// Asks the bundle manager for the service's proxy once and remembers it. Never freed: diagnostics
// may be written until the process ends.
//
// Thread safety: any thread. Two first callers at once may both ask; both answers are good, and
// the last one is kept.
class LogProxyCache {
  public:
    // Never null: where the bundle manager has no proxy, a DefaultLogProxy stands in.
    NS_BUNDLEMGR1::LogProxy* Get();

  private:
    NS_BUNDLEMGR1::LogProxy* Ask();

    std::atomic<NS_BUNDLEMGR1::LogProxy*> proxy_{nullptr};
};

// The proxy for everything but the switch monitor, which keeps a cache of its own.
NS_BUNDLEMGR1::LogProxy* GetLogProxy();

}  // namespace NS_LOG_SERVICE1
