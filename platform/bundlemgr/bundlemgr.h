// The bundle manager as bundles see it.
#pragma once

#include <ace/Recursive_Thread_Mutex.h>
#include <ace/Thread_Mutex.h>

#include <vector>

#include "bundlemgr/logproxy.h"
#include "bundlemgr/platformapi.h"
#include "bundlemgr/serviceobjectbase.h"

namespace NS_BUNDLEMGR1 {

// The process-wide mutex for the creation of objects that exist once in the process. Held only
// during such a creation.
QV_PLATFORM_API extern ACE_Thread_Mutex _g_actualmutex;

// Virtual slots: 0 and 1 destructor, then as declared. Only the platform knows what the operations
// ReservedN mean; N is the slot. They keep slot 12 in its place. Bundles do not call them.
//
// Thread safety: any thread may call any operation, GetServiceObjects under GetLock().
class QV_PLATFORM_API BundleMgr {
  public:
    virtual ~BundleMgr() = default;

    // Returns the bundle manager of this process; never null.
    static BundleMgr* Instance();

    // The platform's own.
    virtual void Reserved2() = 0;
    virtual void Reserved3() = 0;
    virtual void Reserved4() = 0;
    virtual void Reserved5() = 0;
    virtual void Reserved6() = 0;
    virtual void Reserved7() = 0;
    virtual void Reserved8() = 0;
    virtual void Reserved9() = 0;
    virtual void Reserved10() = 0;
    virtual void Reserved11() = 0;

    // Slot 12. Returns the provider of log proxies, or null when this process has none.
    virtual LogProxyProvider* GetLogProxyProvider() = 0;

    // Returns the lock that guards the list of service objects. Recursive: a service object may
    // look up an interface in an operation that the manager calls under this lock.
    ACE_Recursive_Thread_Mutex& GetLock();

    // Returns the service objects that exist, in the order of their creation. REQUIRES: the caller
    // holds GetLock() as long as it uses the list.
    const std::vector<ServiceObjectBase*>& GetServiceObjects() const;
};

}  // namespace NS_BUNDLEMGR1
