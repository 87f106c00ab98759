// Counts what a thread allocates, and lets an allocation fail. Linking this replaces the program's
// operators new and delete.
#pragma once

#include <cstddef>

namespace NS_TEST {

struct Allocations {
    std::size_t count = 0;
    std::size_t bytes = 0;
};

// Of the calling thread, since it called ForgetAllocations last. What malloc gives out directly
// does not count.
Allocations AllocationsOfThisThread();
void ForgetAllocations();

// The next operator new of the calling thread throws std::bad_alloc.
void FailNextAllocation();

}  // namespace NS_TEST
