// Finds the platform's log proxy and remembers it.
#pragma once

#include <atomic>

#include "bundlemgr/logproxy.h"

namespace NS_LOG_SERVICE1 {

// The names under which this service reports, the bundle first.
extern const char* const kBundleName;
extern const char* const kServiceName;

// Asks the bundle manager for the service's proxy once. Never frees it: diagnostics may be written
// until the process ends.
//
// Thread safety: any thread. Two threads may both ask at first. Both answers are valid, and the
// last one is kept.
class LogProxyCache {
  public:
    // Never returns null: returns a DefaultLogProxy when the bundle manager has no proxy.
    NS_BUNDLEMGR1::LogProxy* Get();

  private:
    NS_BUNDLEMGR1::LogProxy* Ask();

    std::atomic<NS_BUNDLEMGR1::LogProxy*> proxy_{nullptr};
};

// The proxy of the whole service except the switch monitor, which has its own cache.
NS_BUNDLEMGR1::LogProxy* GetLogProxy();

}  // namespace NS_LOG_SERVICE1
