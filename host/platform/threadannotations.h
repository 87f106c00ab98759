// What Clang's thread safety analysis is told about locks. Other compilers see nothing of it.
#pragma once

#if defined(__clang__)
#define QV_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define QV_THREAD_ANNOTATION(x)
#endif

// A class that is a lock, and one that holds a lock for the length of a block.
#define CAPABILITY(x) QV_THREAD_ANNOTATION(capability(x))
#define SCOPED_CAPABILITY QV_THREAD_ANNOTATION(scoped_lockable)

// A field that is used only while the lock is held.
#define GUARDED_BY(x) QV_THREAD_ANNOTATION(guarded_by(x))

// The order in which locks are taken.
#define ACQUIRED_BEFORE(...) QV_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))

// A function whose caller holds the lock, and one whose caller does not.
#define REQUIRES(...) QV_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define EXCLUDES(...) QV_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

// A function that takes the lock, and one that lets go of it.
#define ACQUIRE(...) QV_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define RELEASE(...) QV_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

// A function that returns a reference to the lock.
#define RETURN_CAPABILITY(x) QV_THREAD_ANNOTATION(lock_returned(x))

// A function that is not analysed; a comment beside it says why it is safe.
#define NO_THREAD_SAFETY_ANALYSIS QV_THREAD_ANNOTATION(no_thread_safety_analysis)
