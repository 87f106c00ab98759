// Counting what is allocated, and letting an allocation fail.
#pragma once

namespace NS_TEST {

// How many blocks of the operators new exist in the process.
long LiveAllocations();

// Lets the allocation of the calling thread after `successes` more fail, and all behind it; a
// negative number lets all succeed again. Allocations that answer null instead of throwing never
// fail: ACE makes its events that way and uses them unexamined.
void FailAllocationsAfter(long successes);

}  // namespace NS_TEST
