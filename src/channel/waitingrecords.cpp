#include "channel/waitingrecords.h"

#include <sched.h>

#include <utility>

namespace NS_LOG_SERVICE1 {
namespace {

// A write of a group takes a few microseconds: so long a thread looks again and again, then it lets
// others run, and when the disk is slow it sleeps.
constexpr int kLooks = 200;
constexpr int kYields = 50;

inline void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#endif
}

// Returns whether `condition` came true.
template <class Condition>
bool AwaitBriefly(Condition condition) {
    for (int i = 0; i < kLooks; ++i) {
        if (condition()) {
            return true;
        }
        Pause();
    }
    for (int i = 0; i < kYields; ++i) {
        if (condition()) {
            return true;
        }
        ::sched_yield();
    }
    return false;
}

}  // namespace

bool WaitingRecords::Join(WaitingRecord& record) {
    WaitingRecord* newest = newest_.load(std::memory_order_relaxed);
    do {
        record.next = newest;
    } while (!newest_.compare_exchange_weak(newest, &record, std::memory_order_release,
                                            std::memory_order_relaxed));
    return newest == nullptr;
}

void WaitingRecords::AwaitWriter(WaitingRecord& record) {
    const auto handled = [&record] {
        return record.state.load(std::memory_order_acquire) == WaitingRecord::kHandled;
    };
    if (AwaitBriefly(handled)) {
        return;
    }
    ::sem_init(&record.wake, 0, 0);
    int state = WaitingRecord::kWaiting;
    if (record.state.compare_exchange_strong(state, WaitingRecord::kAsleep,
                                             std::memory_order_acq_rel)) {
        while (::sem_wait(&record.wake) == -1) {  // interrupted by a signal
        }
    }
    ::sem_destroy(&record.wake);
}

void WaitingRecords::AwaitTurn() const {
    AwaitBriefly([this] { return !writing_.load(std::memory_order_acquire); });
}

WaitingRecord* WaitingRecords::BeginWriting() {
    writing_.store(true, std::memory_order_relaxed);
    WaitingRecord* newest = newest_.exchange(nullptr, std::memory_order_acquire);
    WaitingRecord* oldest = nullptr;
    while (newest != nullptr) {
        WaitingRecord* const next = std::exchange(newest->next, oldest);
        oldest = std::exchange(newest, next);
    }
    return oldest;
}

void WaitingRecords::EndWriting(WaitingRecord* group, const WaitingRecord& own) {
    writing_.store(false, std::memory_order_release);
    while (group != nullptr) {
        WaitingRecord* const record = std::exchange(group, group->next);
        // A thread may go on, and the record with it, as soon as it is handled; but one that sleeps
        // goes on only when it is woken.
        if (record != &own &&
            record->state.exchange(WaitingRecord::kHandled, std::memory_order_acq_rel) ==
                WaitingRecord::kAsleep) {
            ::sem_post(&record->wake);
        }
    }
}

}  // namespace NS_LOG_SERVICE1
