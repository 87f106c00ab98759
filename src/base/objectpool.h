// Objects that calls borrow, so that their memory is used again by the next call.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

namespace NS_LOG_SERVICE1 {

// A small number of the calling thread's own; threads far apart in age may share one. It is no
// object with a destructor: those would keep the library in memory after it was unloaded.
inline size_t ThreadNumber() {
    static std::atomic<size_t> last{0};
    static thread_local size_t number = 0;
    if (number == 0) {
        number = last.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return number;
}

// Keeps one spare object for each of up to 64 threads. A call within a call, or a thread that
// shares its number with a busy one, gets a new object.
//
// Thread safety: any thread may call any operation.
template <class T>
class ObjectPool {
  public:
    constexpr ObjectPool() = default;
    ~ObjectPool() { Clear(); }

    ObjectPool(const ObjectPool&) = delete;
    ObjectPool& operator=(const ObjectPool&) = delete;

    // Where the calling thread's spare object is kept.
    using Place = std::atomic<T*>;
    Place& PlaceOfThread() { return slots_[ThreadNumber() % slots_.size()].object; }

    // The caller owns the object until it gives it back.
    static T* Take(Place& place) {
        T* const object = place.exchange(nullptr, std::memory_order_acquire);
        return object != nullptr ? object : Make();
    }

    static void GiveBack(Place& place, T* object) {
        T* const surplus = place.exchange(object, std::memory_order_acq_rel);
        if (surplus != nullptr) {
            Free(surplus);
        }
    }

    // Frees the spare objects.
    void Clear() {
        for (Slot& slot : slots_) {
            const std::unique_ptr<T> spare(slot.object.exchange(nullptr));
        }
    }

  private:
    // Not inlined: hardly ever called.
    __attribute__((noinline)) static T* Make() { return std::make_unique<T>().release(); }
    __attribute__((noinline)) static void Free(T* object) {
        const std::unique_ptr<T> surplus(object);
    }

    // Each in a cache line of its own: threads do not slow each other down.
    struct alignas(64) Slot {
        Place object{nullptr};  // owned
    };

    std::array<Slot, 64> slots_;
};

// An object of the pool, for the length of a block.
template <class T>
class Borrowed {
  public:
    explicit Borrowed(ObjectPool<T>& pool)
        : place_(pool.PlaceOfThread()), object_(ObjectPool<T>::Take(place_)) {}
    ~Borrowed() { ObjectPool<T>::GiveBack(place_, object_); }

    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

    T& operator*() const { return *object_; }
    T* operator->() const { return object_; }

  private:
    typename ObjectPool<T>::Place& place_;
    T* object_;
};

}  // namespace NS_LOG_SERVICE1
