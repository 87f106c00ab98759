// An object that exists at most once in the process, from its first use until it is destroyed.
#pragma once

#include <ace/Object_Manager.h>
#include <ace/Recursive_Thread_Mutex.h>

#include <atomic>

#include "base/lockguard.h"

namespace NS_LOG_SERVICE1 {

// A lock of the whole process serialises creation and destruction. It is recursive: one singleton
// may create another during its own creation or destruction.
//
// Thread safety: any thread may call Instance at any time; its fast path is one load. REQUIRES: no
// other thread uses the object during Destroy.
template <class T, class Lock = ACE_Recursive_Thread_Mutex>
class Singleton {
  public:
    using LockAccessor = Lock* (*)();

    constexpr explicit Singleton(LockAccessor lock) : lock_(lock) {}

    // The object, created from the arguments when there is none. Null only when the lock cannot be
    // taken.
    template <class... Arguments>
    T* Instance(const Arguments&... arguments) {
        T* instance = instance_.load(std::memory_order_acquire);
        return instance != nullptr ? instance : Create(arguments...);
    }

    // The object, or null when there is none.
    T* InstanceIfAny() const { return instance_.load(std::memory_order_acquire); }

    // Deletes the object if there is one. When the lock cannot be taken, it stays.
    void Destroy() { DestroyUnder(LockNeeded::kYes); }

    // The same, but goes on without a lock that cannot be taken.
    void DestroyInAnyCase() { DestroyUnder(LockNeeded::kNo); }

  private:
    enum class LockNeeded { kYes, kNo };

    void DestroyUnder(LockNeeded needed) {
        if (InstanceIfAny() == nullptr) {
            return;
        }
        LockGuard<Lock> guard(*lock_());
        if (guard.Held() || needed == LockNeeded::kNo) {
            delete instance_.load(std::memory_order_acquire);
            instance_.store(nullptr, std::memory_order_release);
        }
    }

    template <class... Arguments>
    T* Create(const Arguments&... arguments) {
        LockGuard<Lock> guard(*lock_());
        T* instance = instance_.load(std::memory_order_acquire);
        if (guard.Held() && instance == nullptr) {
            instance = new T(arguments...);
            instance_.store(instance, std::memory_order_release);
        }
        return instance;
    }

    LockAccessor lock_;
    // Owned. Not a smart pointer: a thread may still log while the process exits, so nothing is
    // destroyed then. Not GUARDED_BY: it is written under the lock and read without.
    std::atomic<T*> instance_{nullptr};
};

// The lock that the service's singletons share with everything else in the process.
inline ACE_Recursive_Thread_Mutex* StaticObjectLock() {
    return ACE_Static_Object_Lock::instance();
}

}  // namespace NS_LOG_SERVICE1
