#include "lookup/nullserviceinterface.h"

#include <ace/Thread_Mutex.h>

#include <atomic>

#include "base/lockguard.h"
#include "bundlemgr/bundlemgr.h"

namespace NS_LOG_SERVICE1 {

using NS_BUNDLEMGR1::NULLServiceInterface;

NULLServiceInterface* GetNullServiceInterface() {
    static std::atomic<NULLServiceInterface*> instance{nullptr};
    NULLServiceInterface* found = instance.load(std::memory_order_acquire);
    if (found == nullptr) {
        const LockGuard<ACE_Thread_Mutex> guard(NS_BUNDLEMGR1::_g_actualmutex);
        found = instance.load(std::memory_order_acquire);
        if (found == nullptr) {
            found = new NULLServiceInterface;
            instance.store(found, std::memory_order_release);
        }
    }
    return found;
}

}  // namespace NS_LOG_SERVICE1
