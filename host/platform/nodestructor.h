// An object that lives as long as the process.
#pragma once

#include <new>
#include <utility>

namespace NS_REFERENCE_HOST {

// For static objects. Bundles call the platform from their own static destructors and from threads
// that end late, after ordinary static objects have been destroyed.
//
// Thread safety: that of T.
template <typename T>
class NoDestructor {
  public:
    template <typename... Arguments>
    explicit NoDestructor(Arguments&&... arguments)
        : object_(new (storage_) T(std::forward<Arguments>(arguments)...)) {}

    NoDestructor(const NoDestructor&) = delete;
    NoDestructor& operator=(const NoDestructor&) = delete;

    T& operator*() const { return *object_; }
    T* operator->() const { return object_; }

  private:
    alignas(T) unsigned char storage_[sizeof(T)];
    T* object_;
};

}  // namespace NS_REFERENCE_HOST
