// The bundle manager's list of the service objects that exist.
#pragma once

#include <vector>

#include "bundlemgr/serviceobjectbase.h"
#include "platform/mutex.h"

namespace NS_REFERENCE_HOST {

// Thread safety: Add and Remove may be called by any thread; see Objects.
class ServiceObjectList {
  public:
    static ServiceObjectList& Instance();

    void Add(NS_BUNDLEMGR1::ServiceObjectBase* object);

    // Does nothing when the object is not on the list.
    void Remove(const NS_BUNDLEMGR1::ServiceObjectBase* object);

    RecursiveMutex& Lock() RETURN_CAPABILITY(lock_) { return lock_; }

    // In the order of Add. The caller holds Lock() for as long as it uses the list.
    const std::vector<NS_BUNDLEMGR1::ServiceObjectBase*>& Objects() const REQUIRES(lock_) {
        return objects_;
    }

    // Around a fork. Lock() is not waited for, because its holder may run a bundle's code, and that
    // may wait for the forking thread. It is made anew in the child, for whose thread it is free.
    void BeforeFork() { changeLock_.BeforeFork(); }
    void AfterForkInParent() { changeLock_.AfterFork(); }
    void AfterForkInChild();

  private:
    RecursiveMutex lock_ ACQUIRED_BEFORE(changeLock_);

    // Guards no field. It is held while the list changes, so that a fork does not copy half a
    // change.
    Mutex changeLock_;

    std::vector<NS_BUNDLEMGR1::ServiceObjectBase*> objects_ GUARDED_BY(lock_);  // not owned
};

}  // namespace NS_REFERENCE_HOST
