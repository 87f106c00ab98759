// Objects that calls borrow, so that their memory is used again by the next call.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

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

    static std::unique_ptr<T> Take(Place& place) {
        std::unique_ptr<T> object(place.exchange(nullptr, std::memory_order_acquire));
        if (object == nullptr) {
            object = std::make_unique<T>();
        }
        return object;
    }

    static void GiveBack(Place& place, std::unique_ptr<T> object) {
        const std::unique_ptr<T> surplus(
            place.exchange(object.release(), std::memory_order_acq_rel));
    }

    // Frees the spare objects.
    void Clear() {
        for (Slot& slot : slots_) {
            const std::unique_ptr<T> spare(slot.object.exchange(nullptr));
        }
    }

  private:
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
    ~Borrowed() { ObjectPool<T>::GiveBack(place_, std::move(object_)); }

    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

    T& operator*() const { return *object_; }
    T* operator->() const { return object_.get(); }

  private:
    typename ObjectPool<T>::Place& place_;
    std::unique_ptr<T> object_;
};

}  // namespace NS_LOG_SERVICE1
