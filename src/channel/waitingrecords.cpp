#include "channel/waitingrecords.h"

#include <sched.h>

#include <algorithm>
#include <thread>
#include <utility>

#include "base/pause.h"

namespace NS_LOG_SERVICE1 {
namespace {

// A waiting thread spins for a few microseconds, as long as the write of a group usually takes.
// Then it yields to other threads. When the disk is slow, it sleeps in the end.
constexpr int kLooks = 200;
constexpr int kYields = 50;

// About a microsecond.
constexpr int kLooksForFollowers = 40;

// With three more records in a write, its cost for each record is small already.
constexpr int kMostFollowers = 3;

// After kWaitsInVain waits without followers only every 32nd writer waits: threads that do other
// work between their records meet by chance only.
constexpr unsigned kWaitsInVain = 8;
constexpr unsigned kWritersForAWait = 32;

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
    if (newest == nullptr) {
        return true;
    }
    followers_.fetch_add(1, std::memory_order_relaxed);
    return false;
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

// The threads of the group before go on together, and those that log without a pause come back
// together. If that group is still being written, they come in addition to the caller.
void WaitingRecords::AwaitTurn() {
    int expected = lastGroup_ - 1;
    if (writing_.load(std::memory_order_acquire)) {
        AwaitBriefly([this] { return !writing_.load(std::memory_order_acquire); });
        ++expected;
    }
    expected = std::min(expected, mostFollowers_);
    const unsigned inVain = inVain_;
    if (expected > 0 && (inVain < kWaitsInVain || inVain % kWritersForAWait == 0)) {
        inVain_ = AwaitFollowers(expected) ? 0 : inVain + 1;
    } else if (expected > 0) {
        inVain_ = inVain + 1;
    }
}

// Returns whether they have come.
bool WaitingRecords::AwaitFollowers(int expected) const {
    for (int i = 0; i < kLooksForFollowers; ++i) {
        if (followers_.load(std::memory_order_relaxed) >= expected) {
            return true;
        }
        Pause();
    }
    return false;
}

// Those that can come while the caller looks: the others wait for a processor.
int WaitingRecords::MostFollowers() {
    return std::min(static_cast<int>(std::thread::hardware_concurrency()) - 1, kMostFollowers);
}

WaitingRecord* WaitingRecords::BeginWriting() {
    writing_.store(true, std::memory_order_relaxed);
    WaitingRecord* newest = newest_.exchange(nullptr, std::memory_order_acquire);
    followers_.store(0, std::memory_order_relaxed);
    WaitingRecord* oldest = nullptr;
    int size = 0;
    for (; newest != nullptr; ++size) {
        WaitingRecord* const next = std::exchange(newest->next, oldest);
        oldest = std::exchange(newest, next);
    }
    lastGroup_ = size;
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
