// Objects that calls borrow, so that their memory is used again by the next call.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

namespace NS_LOG_SERVICE1 {

// Returns the calling thread's own number: 1 for the first thread that asks, 2 for the next one. A
// plain integer: a thread_local object with a destructor would keep the library in memory after it
// was unloaded.
inline size_t ThreadNumber() {
    static std::atomic<size_t> last{0};
    static thread_local size_t number = 0;
    if (number == 0) {
        number = last.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    return number;
}

// Has one object for each of up to 64 threads. A call within a call, or a thread that shares its
// number with a busy one, gets a new object.
//
// Thread safety: any thread may call any operation.
template <class T>
class ObjectPool {
  public:
    ObjectPool() = default;

    ObjectPool(const ObjectPool&) = delete;
    ObjectPool& operator=(const ObjectPool&) = delete;

    // Where a thread's object stands. Each in cache lines of its own: threads do not slow each
    // other down.
    class alignas(64) Place {
      public:
        // Returns the object for the caller alone until GiveBack; null while it is lent already.
        // Only this takes a locked instruction, which costs as much as twenty others.
        T* Take() { return lent_.exchange(true, std::memory_order_acquire) ? nullptr : &object_; }
        void GiveBack() { lent_.store(false, std::memory_order_release); }

        void Clear() {
            if (Take() != nullptr) {
                Free();
                GiveBack();
            }
        }

      private:
        // A string that another one is assigned to keeps its memory, so that is taken away first.
        void Free() {
            { [[maybe_unused]] const T freed(std::move(object_)); }
            object_ = T();
        }

        std::atomic<bool> lent_{false};
        T object_;  // of who has set lent_
    };

    Place& PlaceOfThread() { return places_[ThreadNumber() % places_.size()]; }

    // Makes the objects anew that are not lent, and so frees what they own.
    void Clear() {
        for (Place& place : places_) {
            place.Clear();
        }
    }

  private:
    std::array<Place, 64> places_;
};

// An object of the pool, for the length of a block.
template <class T>
class Borrowed {
  public:
    explicit Borrowed(ObjectPool<T>& pool)
        : place_(&pool.PlaceOfThread()), object_(place_->Take()) {
        if (object_ == nullptr) {
            MakeOwn();
        }
    }
    ~Borrowed() {
        if (place_ != nullptr) {
            place_->GiveBack();
        } else {
            FreeOwn();
        }
    }

    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

    T& operator*() const { return *object_; }
    T* operator->() const { return object_; }

  private:
    // For a thread whose object is lent already. Not inlined: hardly ever called.
    __attribute__((noinline)) void MakeOwn() {
        object_ = std::make_unique<T>().release();
        place_ = nullptr;
    }
    __attribute__((noinline)) void FreeOwn() { const std::unique_ptr<T> own(object_); }

    typename ObjectPool<T>::Place* place_;  // null: this owns the object
    T* object_;
};

}  // namespace NS_LOG_SERVICE1
