// A static object that is never destroyed.
#pragma once

#include <new>

namespace NS_LOG_SERVICE1 {

// A thread may log while the process exits, after ordinary static objects have been destroyed. The
// object is stored in place: heap memory would leak each time the bundle is unloaded and loaded
// again.
//
// Thread safety: that of T.
template <class T>
class NoDestructor {
  public:
    NoDestructor() : object_(new (storage_) T) {}

    NoDestructor(const NoDestructor&) = delete;
    NoDestructor& operator=(const NoDestructor&) = delete;

    T& operator*() const { return *object_; }

  private:
    alignas(T) unsigned char storage_[sizeof(T)];
    T* object_;
};

}  // namespace NS_LOG_SERVICE1
