#include "forkhandlers.h"

#include <ace/OS_NS_Thread.h>
#include <pthread.h>

#include <new>

#include "base/singleton.h"
#include "channel/creationmask.h"
#include "control/maintenanceservice.h"
#include "control/moduleswitchtable.h"
#include "logswitchmonitormgr.h"
#include "manager/logmgr.h"

namespace NS_LOG_SERVICE1 {
namespace {

// In the order in which all threads take the locks. The first one keeps a second fork waiting, and
// the singletons as they are.
void BeforeFork() {
    StaticObjectLock()->acquire();
    if (LogMgr* manager = LogMgr::InstanceIfAny()) {
        manager->BeforeFork();
    }
    ModuleSwitchTable::BeforeFork();
    ScopedCreationMask::BeforeFork();
}

void AfterForkInParent() {
    ScopedCreationMask::AfterForkInParent();
    ModuleSwitchTable::AfterForkInParent();
    if (LogMgr* manager = LogMgr::InstanceIfAny()) {
        manager->AfterForkInParent();
    }
    StaticObjectLock()->release();
}

void AfterForkInChild() {
    ScopedCreationMask::AfterForkInChild();
    ModuleSwitchTable::AfterForkInChild();
    LogSwitchMonitorMgr::AfterForkInChild();
    MaintenanceService::AfterForkInChild();
    if (LogMgr* manager = LogMgr::InstanceIfAny()) {
        manager->AfterForkInChild();
    }
    // Only the thread that took a recursive mutex can release it, and the child's thread is another
    // one.
    ACE_OS::recursive_mutex_init(&StaticObjectLock()->lock());
}

bool Register() {
    Logger::MakeStaticObjects();
    // The handlers go with the library: the C library knows in which one they are.
    if (::pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild) != 0) {
        throw std::bad_alloc();
    }
    return true;
}

}  // namespace

void HandleForks() {
    [[maybe_unused]] static const bool registered = Register();
}

}  // namespace NS_LOG_SERVICE1
