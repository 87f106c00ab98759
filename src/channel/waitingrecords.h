// Records of several threads on their way into one file, written together.
#pragma once

#include <semaphore.h>

#include <atomic>

#include "base/relaxedatomic.h"
#include "channel/framing.h"

namespace NS_LOG_SERVICE1 {

// A record that its thread waits for, on that thread's stack.
struct WaitingRecord {
    explicit WaitingRecord(const UnnumberedFrame& itsFrame) : frame(itsFrame) {}

    UnnumberedFrame frame;

    WaitingRecord* next = nullptr;
    // Written, or given up and counted. Set by the thread that writes.
    bool done = false;

    enum State { kWaiting, kAsleep, kHandled };
    std::atomic<int> state{kWaiting};
    // Initialised by the thread when it falls asleep. A plain semaphore takes no memory: nothing
    // may fail once others know the record.
    sem_t wake;
};

// A mutex around a write makes two threads slower than one: each change of hands goes through the
// kernel and takes 25 to 50 microseconds. Here a thread that comes while another one writes leaves
// its record and waits; the first one that comes becomes the next writer and writes for all.
//
// A writer writes one group only, so no thread writes for others for ever. A thread waits for each
// of its records, so they stay in order.
//
// This alone would let two threads that log without a pause take turns: while one writes, the other
// comes, and then writes its record alone. So a writer that expects more records waits for them,
// about a microsecond at most: a thread needs half of that from one record to the next. The threads
// then come together and share each write: 1,350 in place of 815 records in a millisecond.
//
// Thread safety: any thread may call any operation.
class WaitingRecords {
  public:
    // Whether a record that comes now may be written alone, without joining: none is being written,
    // none waits, and none is expected. When two threads are told so at the same moment, one of
    // them waits for the file's mutex.
    bool MayWriteAlone() const {
        return !writing_.load(std::memory_order_relaxed) &&
               newest_.load(std::memory_order_relaxed) == nullptr && lastGroup_ <= 1;
    }

    // Called before and after such a write. A thread that comes in between joins a group.
    void BeginAlone() { writing_.store(true, std::memory_order_relaxed); }
    void EndAlone() { writing_.store(false, std::memory_order_release); }

    // Adds the record. Returns true for the first one of a group: its thread writes the group.
    // Another thread calls AwaitWriter instead.
    bool Join(WaitingRecord& record);

    // Returns when the group's writer has handled the record. REQUIRES: Join returned false.
    static void AwaitWriter(WaitingRecord& record);

    // Waits until no other group is being written and the expected records have joined. Gives up
    // soon, because the file's mutex keeps the order. REQUIRES: Join returned true.
    void AwaitTurn();

    // Ends the group and returns it, in the order of arrival. Later records make the next group.
    // REQUIRES: the caller writes the group and holds the file's mutex.
    WaitingRecord* BeginWriting();

    // Lets the threads of the group go on. The caller has written the group and need not hold the
    // mutex any more. REQUIRES: no record of `group` but the caller's own is used afterwards.
    void EndWriting(WaitingRecord* group, const WaitingRecord& own);

    // In a child process: the records that wait belong to threads of the parent.
    void AfterForkInChild() {
        newest_ = nullptr;
        writing_ = false;
        followers_ = 0;
        lastGroup_ = 0;
        inVain_ = 0;
    }

  private:
    static int MostFollowers();
    bool AwaitFollowers(int expected) const;

    std::atomic<WaitingRecord*> newest_{nullptr};
    std::atomic<bool> writing_{false};
    // For an estimate only; they may be wrong by a record that comes at this moment.
    std::atomic<int> followers_{0};      // that have joined the first one of the next group
    RelaxedAtomic<int> lastGroup_{0};    // the records of the group that was taken last
    RelaxedAtomic<unsigned> inVain_{0};  // the writers since followers came when they were expected
    const int mostFollowers_ = MostFollowers();
};

}  // namespace NS_LOG_SERVICE1
