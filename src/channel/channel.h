// The channel of one log category.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/lockguard.h"
#include "base/mutex.h"
#include "channel/callmemory.h"
#include "channel/counter.h"
#include "channel/logfile.h"
#include "channel/waitingrecords.h"
#include "record/keptrecords.h"
#include "record/logrecord.h"
#include "record/recordqueue.h"

namespace NS_LOG_SERVICE1 {

// What waits in a channel, and what fell out of it. Read by any thread.
struct ChannelStatistics {
    Counter queued;      // in the queue now
    Counter queuedMost;  // in the queue at most
    Counter keptBack;    // kept back now, because their level is off
    Counter evicted;     // kept back, and lost for newer ones
};

// Holds the category's record queue and the records that are kept back because their level is off,
// and owns its log file.
//
// Thread safety: any thread may call any operation. What a record needs is allocated and freed
// outside both mutexes.
class TEDebugInfoBuf {
  public:
    // The four lengths and sizes are copied; later changes do not reach the channel. Touches no
    // file: the first write opens one.
    TEDebugInfoBuf(const char* category, const uint32_t& queuebuflength,
                   const uint32_t& filterbuflength, const uint32_t& logfilesize,
                   const uint32_t& logfilecount);

    // Writes what is queued, then closes the file. What is kept back is lost. An exception while
    // writing is swallowed.
    ~TEDebugInfoBuf();

    TEDebugInfoBuf(const TEDebugInfoBuf&) = delete;
    TEDebugInfoBuf& operator=(const TEDebugInfoBuf&) = delete;

    // Writes the record at once. A record of level 0 is written as a dump, together with
    // what is kept back; nothing is kept back afterwards. Never looks at the queue.
    // Records of several threads that come at once share their writes.
    void Output(const LogRecord& record) EXCLUDES(bufferMutex_, fileMutex_);
    void Output(const LogRecord& record, CallMemory& memory) EXCLUDES(bufferMutex_, fileMutex_);

    // Appends the record to the queue; the record that fills the queue has the queue written out,
    // followed by a notice, while others append to the next queue. A record of level 0 is not
    // queued: the queue is written out, and the record behind it as Output writes it.
    void AppendOutputInfo(const LogRecord& record) EXCLUDES(bufferMutex_, fileMutex_);

    // Keeps back a record whose level is off; the oldest one goes when there are too many.
    void AppendFiltered(const LogRecord& record) EXCLUDES(bufferMutex_);
    void AppendFiltered(const LogRecord& record, CallMemory& memory) EXCLUDES(bufferMutex_);

    // Writes out the queue. Opens the file if none is open, even when nothing is queued.
    void Flush() EXCLUDES(bufferMutex_, fileMutex_);

    // Writes out the queue, and then what is kept back, as a dump that a maintenance command
    // triggered.
    void OutputAll() EXCLUDES(bufferMutex_, fileMutex_);

    // Goes on in another directory or under another file name prefix; see LogFile::ChangePath.
    int ChangePath(const std::string& directory, const std::string& prefix) EXCLUDES(fileMutex_);

    uint64_t QueueCapacity() const { return queueCapacity_; }
    uint64_t KeptCapacity() const { return keptCapacity_; }

    const ChannelStatistics& Statistics() const { return statistics_; }
    // Unlocked: the file's counters are made to be read while they change.
    const LogFileStatistics& FileStatistics() const NO_THREAD_SAFETY_ANALYSIS {
        return logFile_->Statistics();
    }
    // The open file, empty while none is open.
    std::string CurrentPath() EXCLUDES(fileMutex_);

  private:
    using Guard = LockGuard<Mutex>;

    // Writes the records in order. Opens the file first, and loses the records when that fails.
    void WriteAll(const RecordQueue& records) REQUIRES(fileMutex_);

    // Writes the queue if `withQueue`, then the trigger and what is kept back as one dump,
    // and empties both.
    void WriteDump(const LogRecord& trigger, bool withQueue) EXCLUDES(bufferMutex_, fileMutex_);

    // The record's frame but for its number, in the memory; empty when it is too early for it.
    std::string_view FrameAhead(const LogRecord& record, CallMemory& memory);

    // Writes the records of all threads that wait. `own` is the calling thread's.
    void WriteGroup(const WaitingRecord& own) EXCLUDES(fileMutex_);

    // Unlocked: the file says it to any thread.
    bool HasFile() const NO_THREAD_SAFETY_ANALYSIS { return logFile_->HasFile(); }

    // Gives the memory of a queue that was written out back to this channel's queue.
    void GiveBack(RecordQueue& written) EXCLUDES(bufferMutex_);

    void CountBuffered() REQUIRES(bufferMutex_);

    Mutex bufferMutex_ ACQUIRED_BEFORE(fileMutex_);
    RecordQueue queue_ GUARDED_BY(bufferMutex_);
    KeptRecords keptBack_ GUARDED_BY(bufferMutex_);
    const uint64_t queueCapacity_;
    const uint64_t keptCapacity_;
    ChannelStatistics statistics_;  // changed under bufferMutex_, read without it

    WaitingRecords waiting_;
    Mutex fileMutex_;
    std::unique_ptr<LogFile> logFile_ PT_GUARDED_BY(fileMutex_);
};

}  // namespace NS_LOG_SERVICE1
