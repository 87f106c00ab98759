// A static object that is there until its library is unloaded.
#pragma once

#include <new>

namespace NS_LOG_SERVICE1 {

// Is constructed where it stands and never destroyed: a thread may log while the process exits,
// when an ordinary static object would be gone already. It takes no memory of its own, which would
// be lost each time the bundle is unloaded and loaded again.
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
