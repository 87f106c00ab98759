// Making an object anew in its place.
#pragma once

#include <new>

namespace NS_LOG_SERVICE1 {

// For a child process: another thread of the parent may have been using the object, such as a lock,
// when the process forked. Its state is unknown then, so it is not destroyed, and memory that it
// owns is not freed. The new object takes its place. REQUIRES: no other thread runs.
template <class T>
void Renew(T& object) {
    new (&object) T();
}

}  // namespace NS_LOG_SERVICE1
