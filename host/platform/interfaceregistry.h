// The registry of interfaces.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "bundlemgr/serviceinterface.h"
#include "platform/mutex.h"

namespace NS_REFERENCE_HOST {

// Thread safety: any thread may call any operation.
class InterfaceRegistry {
  public:
    static InterfaceRegistry& Instance();

    // Does nothing when the interface has this name already.
    void Add(const std::string& name, NS_BUNDLEMGR1::ServiceInterface* interface) EXCLUDES(lock_);

    // In the order of Add.
    std::vector<NS_BUNDLEMGR1::ServiceInterface*> Find(const std::string& name) const
        EXCLUDES(lock_);

    // Removes the interface under all its names.
    void Remove(const NS_BUNDLEMGR1::ServiceInterface* interface) EXCLUDES(lock_);

    // Around a fork: the registry is held meanwhile.
    void BeforeFork() { lock_.BeforeFork(); }
    void AfterFork() { lock_.AfterFork(); }

  private:
    mutable Mutex lock_;
    std::map<std::string, std::vector<NS_BUNDLEMGR1::ServiceInterface*>> interfaces_
        GUARDED_BY(lock_);  // not owned
};

}  // namespace NS_REFERENCE_HOST
