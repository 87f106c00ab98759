#include "control/moduleswitchtable.h"

#include <atomic>

#include "base/renew.h"

namespace NS_LOG_SERVICE1 {
namespace {

Singleton<ModuleSwitchTable> moduleSwitchTable(&StaticObjectLock);
std::atomic<bool> keptForGood{false};

// The switches survive a stop of the service. They are deleted when the library is unloaded.
__attribute__((destructor)) void DestroyAtUnload() {
    if (!keptForGood) {
        moduleSwitchTable.Destroy();
    }
}

}  // namespace

ModuleSwitchTable* ModuleSwitchTable::Instance() {
    return moduleSwitchTable.Instance();
}

void ModuleSwitchTable::Destroy() {
    moduleSwitchTable.Destroy();
}

void ModuleSwitchTable::KeepForGood() {
    keptForGood = true;
}

void ModuleSwitchTable::BeforeFork() NO_THREAD_SAFETY_ANALYSIS {
    if (ModuleSwitchTable* table = moduleSwitchTable.InstanceIfAny()) {
        table->heldForFork_ = table->mutex_.acquire_write() != -1;
    }
}

void ModuleSwitchTable::AfterForkInParent() NO_THREAD_SAFETY_ANALYSIS {
    ModuleSwitchTable* table = moduleSwitchTable.InstanceIfAny();
    if (table != nullptr && table->heldForFork_) {
        table->heldForFork_ = false;
        table->mutex_.release();
    }
}

void ModuleSwitchTable::AfterForkInChild() {
    if (ModuleSwitchTable* table = moduleSwitchTable.InstanceIfAny()) {
        table->heldForFork_ = false;
        Renew(table->mutex_);
    }
}

bool ModuleSwitchTable::Get(const unsigned int& module) {
    const ReadGuard guard(mutex_);
    const auto found = switches_.find(static_cast<int>(module));
    return found == switches_.end() || found->second;
}

void ModuleSwitchTable::Set(const unsigned int& module, const bool& on) {
    const WriteGuard guard(mutex_);
    switches_[static_cast<int>(module)] = on;
}

void ModuleSwitchTable::Clear() {
    const WriteGuard guard(mutex_);
    switches_.clear();
}

std::map<int, bool> ModuleSwitchTable::All() {
    const ReadGuard guard(mutex_);
    return switches_;
}

}  // namespace NS_LOG_SERVICE1
