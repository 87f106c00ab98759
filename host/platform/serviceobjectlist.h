// The bundle manager's list of the service objects that exist.
#pragma once

#include <ace/Recursive_Thread_Mutex.h>

#include <vector>

#include "bundlemgr/serviceobjectbase.h"

namespace NS_REFERENCE_HOST {

// Thread safety: Add and Remove may be called by any thread; see Objects.
class ServiceObjectList {
  public:
    static ServiceObjectList& Instance();

    void Add(NS_BUNDLEMGR1::ServiceObjectBase* object);

    // Does nothing when the object is not on the list.
    void Remove(const NS_BUNDLEMGR1::ServiceObjectBase* object);

    ACE_Recursive_Thread_Mutex& Lock() { return lock_; }

    // In the order of Add. The caller holds Lock() for as long as it uses the list.
    const std::vector<NS_BUNDLEMGR1::ServiceObjectBase*>& Objects() const { return objects_; }

  private:
    ACE_Recursive_Thread_Mutex lock_;
    std::vector<NS_BUNDLEMGR1::ServiceObjectBase*> objects_;  // guarded by lock_; not owned
};

}  // namespace NS_REFERENCE_HOST
