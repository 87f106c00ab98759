// The bundle manager's list of the service objects that exist.
#include "serviceobjectlist.h"

#include <ace/OS_NS_Thread.h>

#include <algorithm>

#include "nodestructor.h"

namespace NS_REFERENCE_HOST {

ServiceObjectList& ServiceObjectList::Instance() {
    static NoDestructor<ServiceObjectList> list;
    return *list;
}

void ServiceObjectList::Add(NS_BUNDLEMGR1::ServiceObjectBase* object) {
    const RecursiveMutexLock guard(lock_);
    const MutexLock changeGuard(changeLock_);
    objects_.push_back(object);
}

void ServiceObjectList::Remove(const NS_BUNDLEMGR1::ServiceObjectBase* object) {
    const RecursiveMutexLock guard(lock_);
    const MutexLock changeGuard(changeLock_);
    objects_.erase(std::remove(objects_.begin(), objects_.end(), object), objects_.end());
}

void ServiceObjectList::AfterForkInChild() {
    // Only the thread that took a recursive mutex can release it, and the child's thread is another
    // one.
    ACE_OS::recursive_mutex_init(&lock_.lock());
    changeLock_.AfterFork();
}

}  // namespace NS_REFERENCE_HOST
