// The bundle manager's list of the service objects that exist.
#include "serviceobjectlist.h"

#include <algorithm>

#include "nodestructor.h"

namespace NS_REFERENCE_HOST {

ServiceObjectList& ServiceObjectList::Instance() {
    static NoDestructor<ServiceObjectList> list;
    return *list;
}

void ServiceObjectList::Add(NS_BUNDLEMGR1::ServiceObjectBase* object) {
    const RecursiveMutexLock guard(lock_);
    objects_.push_back(object);
}

void ServiceObjectList::Remove(const NS_BUNDLEMGR1::ServiceObjectBase* object) {
    const RecursiveMutexLock guard(lock_);
    objects_.erase(std::remove(objects_.begin(), objects_.end(), object), objects_.end());
}

}  // namespace NS_REFERENCE_HOST
