// The on/off switches of the bundles' modules.
#pragma once

#include <map>

#include "base/readwritemutex.h"
#include "base/singleton.h"

namespace NS_LOG_SERVICE1 {

// A module whose switch was never set is on. When the lock fails, the operation runs without it,
// and errno has the lock's error.
//
// Thread safety: any thread may call any operation but Destroy; readers do not wait for each other.
class ModuleSwitchTable {
  public:
    // The table, created on the first call. Null only when the lock under which it is created
    // cannot be taken.
    static ModuleSwitchTable* Instance();

    // Deletes the table if there is one. REQUIRES: no thread uses it any more.
    static void Destroy();

    // Called when the process exits: the table is not deleted with the library then, since a thread
    // may still use it.
    static void KeepForGood();

    ModuleSwitchTable() = default;
    ModuleSwitchTable(const ModuleSwitchTable&) = delete;
    ModuleSwitchTable& operator=(const ModuleSwitchTable&) = delete;

    // Around a fork: the lock is held meanwhile. The child makes it anew, since only the thread
    // that took such a lock can release it, and the child's thread is another one.
    static void BeforeFork();
    static void AfterForkInParent();
    static void AfterForkInChild();

    // Module numbers are compared as signed numbers.
    bool Get(const unsigned int& module) EXCLUDES(mutex_);
    void Set(const unsigned int& module, const bool& on) EXCLUDES(mutex_);

    // Forgets all switches, so that every module is on again.
    void Clear() EXCLUDES(mutex_);

    // A copy of the switches that were set, by module number.
    std::map<int, bool> All() EXCLUDES(mutex_);

  private:
    std::map<int, bool> switches_ GUARDED_BY(mutex_);
    ReadWriteMutex mutex_;
    bool heldForFork_ = false;  // the lock's holder's
};

}  // namespace NS_LOG_SERVICE1
