#include "control/moduleswitchtable.h"

#include "base/lockguard.h"

namespace NS_LOG_SERVICE1 {
namespace {

Singleton<ModuleSwitchTable> moduleSwitchTable(&StaticObjectLock);

// The switches outlive a stop of the service and go when the library does.
__attribute__((destructor)) void DestroyAtUnload() {
    moduleSwitchTable.Destroy();
}

// The two ways to hold a reader-writer lock, as LockGuard expects a lock.
struct ReadSide {
    ACE_RW_Mutex& mutex;
    int acquire() { return mutex.acquire_read(); }
    int release() { return mutex.release(); }
};
struct WriteSide {
    ACE_RW_Mutex& mutex;
    int acquire() { return mutex.acquire_write(); }
    int release() { return mutex.release(); }
};

}  // namespace

ModuleSwitchTable* ModuleSwitchTable::Instance() {
    return moduleSwitchTable.Instance();
}

void ModuleSwitchTable::Destroy() {
    moduleSwitchTable.Destroy();
}

bool ModuleSwitchTable::Get(const unsigned int& module) {
    ReadSide side{mutex_};
    const LockGuard<ReadSide> guard(side);
    const auto found = switches_.find(static_cast<int>(module));
    return found == switches_.end() || found->second;
}

void ModuleSwitchTable::Set(const unsigned int& module, const bool& on) {
    WriteSide side{mutex_};
    const LockGuard<WriteSide> guard(side);
    switches_[static_cast<int>(module)] = on;
}

void ModuleSwitchTable::Clear() {
    WriteSide side{mutex_};
    const LockGuard<WriteSide> guard(side);
    switches_.clear();
}

std::map<int, bool> ModuleSwitchTable::All() {
    ReadSide side{mutex_};
    const LockGuard<ReadSide> guard(side);
    return switches_;
}

}  // namespace NS_LOG_SERVICE1
