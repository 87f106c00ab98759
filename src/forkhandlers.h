// What the service does around a fork of the process.
#pragma once

namespace NS_LOG_SERVICE1 {

// Has the C library call the service's handlers around each fork, from now on and until the library
// is unloaded. They leave parent and child with locks that can be used. The child is left without
// what belongs to the parent: its queued records, those that were kept back, its files and its
// threads.
//
// A fork waits until the writes that go on are completed.
//
// Does nothing when it was called before. Throws std::bad_alloc. Thread safety: any thread.
void HandleForks();

}  // namespace NS_LOG_SERVICE1
