// The channel of one log category.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/deadline.h"
#include "base/lockguard.h"
#include "base/mutex.h"
#include "base/relaxedatomic.h"
#include "channel/callmemory.h"
#include "channel/counter.h"
#include "channel/logfile.h"
#include "channel/waitingrecords.h"
#include "record/keptrecords.h"
#include "record/logrecord.h"
#include "record/recordqueue.h"

namespace NS_LOG_SERVICE1 {

// What a channel was given, what it holds and what it has evicted. The buffer mutex guards changes,
// unless the field says otherwise. Any thread may read the fields.
struct ChannelStatistics {
    Counter received;          // all but those of the next field
    Counter receivedDirectly;  // written at once, but not as dumps; changed under the file mutex
    Counter queued;            // in the queue now
    Counter queuedMost;        // in the queue at most
    Counter queuedBytes;       // of their texts
    Counter keptBack;          // kept back now, because their level is off
    Counter evicted;           // kept back, and lost for newer ones

    // Records that an exception kept from the channel. Any thread changes it.
    RelaxedAtomic<uint64_t> refused;
};

// Owns the category's record queue, the records that are kept back because their level is off, and
// the log file.
//
// The operations pass on exceptions such as std::bad_alloc. A record that an exception interrupts
// was written, is still queued or kept back, or counts as dropped.
//
// Thread safety: any thread may call any operation. The memory of records that are queued or kept
// back is allocated and freed outside the buffer mutex.
class TEDebugInfoBuf {
  public:
    // Copies the four lengths and sizes: later changes of the settings have no effect. Opens no
    // file: the first write does.
    TEDebugInfoBuf(const char* category, const uint32_t& queuebuflength,
                   const uint32_t& filterbuflength, const uint32_t& logfilesize,
                   const uint32_t& logfilecount);

    // Writes out the queue and closes the file. Records that are kept back are lost. Swallows
    // exceptions.
    ~TEDebugInfoBuf();

    TEDebugInfoBuf(const TEDebugInfoBuf&) = delete;
    TEDebugInfoBuf& operator=(const TEDebugInfoBuf&) = delete;

    // Writes the record at once. A record of level 0 is written as a dump, together with the
    // records that are kept back; none is kept back afterwards. Does not touch the queue. Records
    // of several threads that come at once share their writes.
    void Output(const LogRecord& record) EXCLUDES(bufferMutex_, fileMutex_);
    // The second one is inlined: see channel/directoutput.h.
    void Output(const LogRecord& record, CallMemory& memory) EXCLUDES(bufferMutex_, fileMutex_);

    // Sets the bytes of the texts at which the queue is full, whatever the number of its records;
    // 0, as at first, for no such limit. Takes effect with the next record.
    void LimitQueueBytes(uint64_t bytes) { queueBytes_ = bytes; }

    // Appends the record to the queue. When that fills the queue, writes out the queue and then a
    // notice, while others append to the next queue. A record of level 0 is not queued: writes out
    // the queue, and then the record as Output does.
    void AppendOutputInfo(const LogRecord& record) EXCLUDES(bufferMutex_, fileMutex_);

    // Keeps back a record whose level is off. Evicts the oldest one when there are too many.
    void AppendFiltered(const LogRecord& record) EXCLUDES(bufferMutex_);
    void AppendFiltered(const LogRecord& record, CallMemory& memory) EXCLUDES(bufferMutex_);

    // Writes out the queue. Opens the file if none is open, even when nothing is queued.
    void Flush() EXCLUDES(bufferMutex_, fileMutex_);

    // Writes out the queue, and then a dump of the records that are kept back. The dump's trigger
    // names the maintenance command.
    void OutputAll() EXCLUDES(bufferMutex_, fileMutex_);

    // Changes the directory and the file name prefix; see LogFile::ChangePath.
    int ChangePath(const std::string& directory, const std::string& prefix) EXCLUDES(fileMutex_);

    // Waits until both mutexes are free. Returns false when the deadline comes first. This happens
    // when a signal handler calls it on a thread that already holds one of them.
    bool AwaitFree(const Deadline& deadline) EXCLUDES(bufferMutex_, fileMutex_);

    // For a process that dies: writes out the queue if the file is open, without allocating and
    // without waiting for a mutex. Returns false, and has done nothing, when one is held.
    bool WriteBeforeDeath(LastWords& memory, const Deadline& deadline) noexcept;

    // Around a fork. Both mutexes are held meanwhile: a write that goes on is completed first. The
    // child starts with nothing queued or kept back, since the parent writes that, and without a
    // file.
    void BeforeFork() EXCLUDES(bufferMutex_, fileMutex_);
    void AfterForkInParent();
    void AfterForkInChild();

    // On an operator's order; see LogFile.
    void Rotate() EXCLUDES(fileMutex_);
    void Reopen() EXCLUDES(fileMutex_);

    // What happens from the next record on when a name is taken or a write fails.
    void SetFilePolicy(FilePolicy policy) EXCLUDES(fileMutex_);

    uint64_t QueueCapacity() const { return queueCapacity_; }
    uint64_t KeptCapacity() const { return keptCapacity_; }

    // Counts a record that an exception keeps from the channel; see Acceptance.
    void CountRefused() {
        statistics_.refused.Update([](uint64_t refused) { return refused + 1; });
    }

    // The records that were given to the channel, and those that an exception kept from it.
    uint64_t Received() const {
        return statistics_.received.Get() + statistics_.receivedDirectly.Get() +
               statistics_.refused;
    }
    // Those that were lost because they could not be written, or could not even be made.
    uint64_t Dropped() const { return FileStatistics().recordsDropped.Get() + statistics_.refused; }

    const ChannelStatistics& Statistics() const { return statistics_; }
    // Unlocked: the file's counters are made to be read while they change.
    const LogFileStatistics& FileStatistics() const NO_THREAD_SAFETY_ANALYSIS {
        return logFile_->Statistics();
    }
    // The open file; no path when none is open. Unlocked: a file that is being written may take
    // long.
    OpenedFile CurrentFileOpened() const NO_THREAD_SAFETY_ANALYSIS { return logFile_->Opened(); }
    std::string CurrentPath() const { return CurrentFileOpened().path; }

  private:
    using Guard = LockGuard<Mutex>;

    // Writes the records in order. Opens the file first; when that fails, the records are lost.
    void WriteAll(const RecordQueue& records) REQUIRES(fileMutex_);

    // The same, before another record is written. When this throws, that record and `history`
    // kept-back records count as dropped.
    void WriteAllBefore(const RecordQueue& records, uint64_t history) REQUIRES(fileMutex_);

    // Writes the queue if `withQueue`, then the trigger and what is kept back as one dump,
    // and empties both.
    void WriteDump(const LogRecord& trigger, bool withQueue) EXCLUDES(bufferMutex_, fileMutex_);

    // Makes the record's frame in `memory`. Returns an empty frame while no file is open.
    UnnumberedFrame FrameAhead(const LogRecord& record, CallMemory& memory);

    // Writes the record at once. Most come alone.
    void WriteAlone(WaitingRecord& record) EXCLUDES(fileMutex_);

    // Writes the record and opens a file if there is none.
    void WriteFirst(const LogRecord& record) EXCLUDES(fileMutex_);

    // Writes the record together with those of the threads that come at the same time.
    void WriteWithOthers(WaitingRecord& record) EXCLUDES(fileMutex_);

    // Writes a record whose first attempt an exception ended.
    void WriteAgain(const LogRecord& record) EXCLUDES(fileMutex_);

    // Writes the records. Swallows exceptions: a record whose write throws is left undone.
    void TryWriteGroup(WaitingRecord* group) REQUIRES(fileMutex_);

    // Writes the records of all threads that wait. `own` is the calling thread's.
    void WriteGroup(const WaitingRecord& own) EXCLUDES(fileMutex_);

    // Unlocked: the file says it to any thread.
    bool HasFile() const NO_THREAD_SAFETY_ANALYSIS { return logFile_->HasFile(); }

    // Returns the memory of a written queue to the channel's queue.
    void GiveBack(RecordQueue& written) EXCLUDES(bufferMutex_);

    bool IsQueueFull() const REQUIRES(bufferMutex_);

    void CountBuffered() REQUIRES(bufferMutex_);

    // Takes both mutexes if nobody holds either.
    bool TryLocks() NO_THREAD_SAFETY_ANALYSIS;
    void ReleaseLocks() NO_THREAD_SAFETY_ANALYSIS;

    Mutex bufferMutex_ ACQUIRED_BEFORE(fileMutex_);
    RecordQueue queue_ GUARDED_BY(bufferMutex_);
    KeptRecords keptBack_ GUARDED_BY(bufferMutex_);
    // The records that WriteBeforeDeath wrote or gave up. They are kept, because a dying process
    // must not free memory.
    RecordQueue lastRecords_ GUARDED_BY(bufferMutex_);
    const uint64_t queueCapacity_;
    const uint64_t keptCapacity_;
    RelaxedAtomic<uint64_t> queueBytes_{0};
    ChannelStatistics statistics_;  // each field says what guards its changes; read without a lock

    WaitingRecords waiting_;
    Mutex fileMutex_;
    std::unique_ptr<LogFile> logFile_ PT_GUARDED_BY(fileMutex_);
};

// A record on its way into a channel. It counts as dropped when an exception comes before the
// channel has it.
class Acceptance {
  public:
    // `channel` may be null.
    explicit Acceptance(TEDebugInfoBuf* channel) : channel_(channel) {}
    ~Acceptance() {
        if (channel_ != nullptr) {
            channel_->CountRefused();
        }
    }

    Acceptance(const Acceptance&) = delete;
    Acceptance& operator=(const Acceptance&) = delete;

    // The record's channel answers for it from now on.
    void Done() { channel_ = nullptr; }

  private:
    TEDebugInfoBuf* channel_;
};

}  // namespace NS_LOG_SERVICE1
