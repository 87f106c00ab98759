#include "base/mutex.h"

#include <ctime>

#include "base/deadline.h"

namespace NS_LOG_SERVICE1 {
namespace {

// In milliseconds. Longer than most locks are held and than a thread usually waits for a processor,
// so that hardly any thread loses its patience unless more of them run than there are processors.
constexpr int kPatience = 5;

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

// Who waits in vain for the impatient ones, or for the mutex itself, becomes impatient too. So
// nobody waits for ever, and those that compete for the mutex at last are few: each of them, when
// it comes again, waits for the others.
int Mutex::AcquireInTurn() {
    Deadline(kPatience).Await([this] { return ImpatientThreads() == 0; });
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
