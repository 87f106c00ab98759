// The lock under which the platform asks the C library for local times.
#pragma once

#include "platform/mutex.h"

namespace NS_REFERENCE_HOST {

// The C library has a lock of its own for this, and does not hold it around a fork: a child whose
// parent was rendering a time waits for it for ever. So this one is held there in its place.
Mutex& LocalTimeLock();

}  // namespace NS_REFERENCE_HOST
