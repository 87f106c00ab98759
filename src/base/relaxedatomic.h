// An atomic field without ordering.
#pragma once

#include <atomic>

namespace NS_LOG_SERVICE1 {

// For fields that are read without a lock. It reads and writes like a plain field, but without a
// data race. A reader may see a new value late, and there is no order between two such fields.
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

    // Replaces the value by `change(value)` in one atomic step. May call `change` more than once.
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
