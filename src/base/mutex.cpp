#include "base/mutex.h"

#include <sched.h>

#include <ctime>

#include "base/deadline.h"
#include "base/pause.h"

namespace NS_LOG_SERVICE1 {
namespace {

// In milliseconds. Longer than most locks are held and than a thread usually waits for a processor,
// so that hardly any thread loses its patience unless more of them run than there are processors.
constexpr int kPatience = 10;

// Before the last look; about a tenth of a microsecond. A thread that looks for longer slows down
// the one that holds the mutex.
constexpr int kMostPauses = 8;

// Each lets every other thread run that waits for this processor. Two bring most of what ten do.
constexpr int kYields = 10;

// On the clock that somebody may set: then the patience is shorter or longer once.
struct timespec EndOfPatience() {
    constexpr long kSecond = 1'000'000'000;
    struct timespec end = {};
    ::clock_gettime(CLOCK_REALTIME, &end);
    end.tv_nsec += kPatience * 1'000'000L;
    if (end.tv_nsec >= kSecond) {
        end.tv_nsec -= kSecond;
        ++end.tv_sec;
    }
    return end;
}

}  // namespace

// Looks ever less often: each look takes the mutex's memory from the thread that holds it.
bool Mutex::AcquireSoon() {
    for (int pauses = 1; pauses <= kMostPauses; pauses *= 2) {
        for (int i = 0; i < pauses; ++i) {
            Pause();
        }
        if (::pthread_mutex_trylock(&mutex_.lock()) == 0) {
            return true;
        }
    }
    return false;
}

bool Mutex::AcquireYielding() {
    for (int i = 0; i < kYields && ImpatientThreads() == 0; ++i) {
        ::sched_yield();
        if (::pthread_mutex_trylock(&mutex_.lock()) == 0) {
            return true;
        }
    }
    return false;
}

// Lets the impatient threads go first, for 10 ms at most. A thread that does not get the mutex in
// 10 ms more becomes impatient too, so no thread waits for ever. Only impatient threads compete in
// the end. They are few, because each of them lets the others go first when it comes again.
int Mutex::AcquireInTurn(MutexWait wait) {
    if (ImpatientThreads() != 0) {
        Deadline(kPatience).Await([this] { return ImpatientThreads() == 0; });
    }
    if (AcquireSoon() || (wait == MutexWait::kYieldThenSleep && AcquireYielding())) {
        return 0;
    }
    const struct timespec end = EndOfPatience();
    if (::pthread_mutex_timedlock(&mutex_.lock(), &end) == 0) {
        return 0;
    }
    impatient_.fetch_add(1, std::memory_order_relaxed);
    const int result = mutex_.acquire();
    impatient_.fetch_sub(1, std::memory_order_relaxed);
    return result;
}

}  // namespace NS_LOG_SERVICE1
