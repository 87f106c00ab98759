// A field that is read without a lock.
#pragma once

#include <atomic>

namespace NS_LOG_SERVICE1 {

// Reads and writes like a plain field but without a data race. A reader may see a new value a
// little late, and sees no order between two such fields.
template <class T>
class RelaxedAtomic {
  public:
    constexpr RelaxedAtomic() noexcept : value_(T()) {}
    constexpr RelaxedAtomic(T value) noexcept : value_(value) {}  // NOLINT: like a plain field

    RelaxedAtomic(const RelaxedAtomic&) = delete;
    RelaxedAtomic& operator=(const RelaxedAtomic&) = delete;

    T Get() const noexcept { return value_.load(std::memory_order_relaxed); }
    void Set(T value) noexcept { value_.store(value, std::memory_order_relaxed); }

    operator T() const noexcept { return Get(); }  // NOLINT: reads like a plain field
    RelaxedAtomic& operator=(T value) noexcept {
        Set(value);
        return *this;
    }

    // Replaces the value by `change(value)`, whatever other writers do meanwhile.
    template <class Change>
    void Update(Change change) {
        T value = Get();
        while (!value_.compare_exchange_weak(value, change(value), std::memory_order_relaxed)) {
        }
    }

  private:
    std::atomic<T> value_;
};

}  // namespace NS_LOG_SERVICE1
