// Counting what is allocated, and letting an allocation fail. Linking this replaces the program's
// operators new and delete; what malloc gives out directly does not count.
#pragma once

#include <cstddef>

namespace NS_TEST {

struct Allocations {
    std::size_t count = 0;
    std::size_t bytes = 0;
    std::size_t freed = 0;  // blocks, whichever thread allocated them
};

// Of the calling thread, since it called ForgetAllocations last.
Allocations AllocationsOfThisThread();
void ForgetAllocations();

// How many blocks exist in the process. Other threads change it: one that starts does.
long LiveAllocations();

// Lets the allocation of the calling thread after `successes` more throw std::bad_alloc, and all
// behind it; a negative number lets all succeed again. Allocations that answer null instead of
// throwing never fail: ACE makes its events that way and uses them unexamined.
void FailAllocationsAfter(long successes);

// The same for the calling thread's next allocation alone, and for the one after `successes` more.
void FailNextAllocation();
void FailOneAllocationAfter(long successes);

// Lets allocations of so many bytes and more fail, of all threads; SIZE_MAX lets them succeed
// again.
void FailAllocationsFrom(std::size_t size);

// The calling thread's next allocation waits until it is released.
void HoldNextAllocation();
bool IsAllocationHeld();
void ReleaseAllocation();

}  // namespace NS_TEST
