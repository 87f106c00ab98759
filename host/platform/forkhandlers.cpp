// What the platform does around a fork of the process: parent and child have locks that can be
// used.
#include <ace/OS_NS_Thread.h>
#include <pthread.h>

#include <new>

#include "bundlemgr/bundlemgr.h"
#include "fileconfigitems.h"
#include "interfaceregistry.h"
#include "localtimelock.h"
#include "serviceobjectlist.h"
#include "stderrlogproxy.h"

namespace NS_REFERENCE_HOST {
namespace {

// A bundle may call the platform while it holds locks of its own. Nobody takes any other lock while
// he holds one of these, so they may be taken after all others, in any order.
void BeforeFork() {
    ServiceObjectList::Instance().BeforeFork();
    InterfaceRegistry::Instance().BeforeFork();
    FileConfigItems::Instance().BeforeFork();
    StderrLogProxyLock().BeforeFork();
    LocalTimeLock().BeforeFork();
}

void AfterForkInParent() {
    LocalTimeLock().AfterFork();
    StderrLogProxyLock().AfterFork();
    FileConfigItems::Instance().AfterForkInParent();
    InterfaceRegistry::Instance().AfterFork();
    ServiceObjectList::Instance().AfterForkInParent();
}

void AfterForkInChild() {
    LocalTimeLock().AfterFork();
    StderrLogProxyLock().AfterFork();
    FileConfigItems::Instance().AfterForkInChild();
    InterfaceRegistry::Instance().AfterFork();
    ServiceObjectList::Instance().AfterForkInChild();
    // Not held meanwhile: its holder runs a bundle's code, which may wait for the forking thread.
    ACE_OS::thread_mutex_init(&NS_BUNDLEMGR1::_g_actualmutex.lock());
}

// When the library is loaded, which is before any bundle is: the C library prepares for a fork in
// the reverse order. So the bundles take their locks first, and find the platform's free.
__attribute__((constructor)) void Register() {
    if (::pthread_atfork(&BeforeFork, &AfterForkInParent, &AfterForkInChild) != 0) {
        throw std::bad_alloc();
    }
}

}  // namespace
}  // namespace NS_REFERENCE_HOST
