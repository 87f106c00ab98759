// Making an object anew in its place.
#pragma once

#include <new>

namespace NS_LOG_SERVICE1 {

// For the child process that a fork has made: of what another thread of the parent had in its
// hands, such as a lock, nobody knows the state. So nothing is destroyed; the new object takes the
// place. REQUIRES: no other thread runs. The old object's memory, if it owned any, is not freed.
template <class T>
void Renew(T& object) {
    new (&object) T();
}

}  // namespace NS_LOG_SERVICE1
