// The channel of one log category.
#pragma once

#include <ace/Thread_Mutex.h>

#include <cstdint>
#include <memory>
#include <string>

#include "base/lockguard.h"
#include "channel/counter.h"
#include "channel/logfile.h"
#include "record/logrecord.h"
#include "record/recordcache.h"
#include "record/recordqueue.h"

namespace NS_LOG_SERVICE1 {

// What waits in a channel, and what fell out of it. Read by any thread.
struct ChannelStatistics {
    Counter queued;      // in the queue now
    Counter queuedMost;  // in the queue at most
    Counter cached;      // in the filtered cache now
    Counter evicted;     // fell out of the filtered cache unwritten
};

// Holds the category's record queue and its filtered cache, and owns its log file.
//
// Thread safety: any thread may call any operation. Lock order: buffer mutex, then file mutex.
// What a record needs is allocated and freed outside both.
class TEDebugInfoBuf {
  public:
    // The four lengths and sizes are copied; later changes do not reach the channel. Touches no
    // file: the first write opens one.
    TEDebugInfoBuf(const char* category, const uint32_t& queuebuflength,
                   const uint32_t& filterbuflength, const uint32_t& logfilesize,
                   const uint32_t& logfilecount);

    // Writes what is queued, then closes the file. What the filtered cache holds is lost. An
    // exception while writing is swallowed.
    ~TEDebugInfoBuf();

    TEDebugInfoBuf(const TEDebugInfoBuf&) = delete;
    TEDebugInfoBuf& operator=(const TEDebugInfoBuf&) = delete;

    // Writes the record at once. A record of level 0 is written as a dump, together with the
    // filtered cache, which is empty afterwards. Never looks at the queue.
    void Output(const LogRecord& record);

    // Appends the record to the queue; the record that fills the queue has the queue written out,
    // followed by a notice. A record of level 0 is not queued: the queue is written out, and the
    // record behind it as Output writes it.
    void AppendOutputInfo(const LogRecord& record);

    // Keeps a record whose level is switched off; the oldest one goes when there are too many.
    void AppendFiltered(const LogRecord& record);

    // Writes out the queue. Opens the file if none is open, even when nothing is queued.
    void Flush();

    // Writes out the queue, and then the filtered cache as a dump that a maintenance command
    // triggered.
    void OutputAll();

    // Goes on in another directory or under another file name prefix; see LogFile::ChangePath.
    int ChangePath(const std::string& directory, const std::string& prefix);

    uint64_t QueueCapacity() const { return queueCapacity_; }
    uint64_t CacheCapacity() const { return cacheCapacity_; }

    const ChannelStatistics& Statistics() const { return statistics_; }
    const LogFileStatistics& FileStatistics() const { return logFile_->Statistics(); }
    // The open file, empty while none is open.
    std::string CurrentPath();

  private:
    using Guard = LockGuard<ACE_Thread_Mutex>;

    // Writes the records in order; the file mutex is held. Opens the file first, and loses the
    // records when that fails.
    void WriteAll(const RecordQueue& records);

    // Writes the queue if `withQueue`, then the trigger and the filtered cache as one dump, and
    // empties both.
    void WriteDump(const LogRecord& trigger, bool withQueue);

    // Writes the full queue and the notice behind it; the buffer mutex is held. Hands back memory
    // to be freed outside the lock.
    RecordQueue::Chunks WriteFullQueue();

    // Makes sure that the record can be appended; lets go of the buffer mutex where memory is
    // needed.
    void MakeRoom(Guard& bufferGuard, const LogRecord& record);

    // Gives the memory of a queue that was written out back to this channel's queue.
    void GiveBack(RecordQueue& written);

    void CountBuffered();

    ACE_Thread_Mutex bufferMutex_;
    RecordQueue queue_;          // guarded by bufferMutex_
    RecordCache filteredCache_;  // guarded by bufferMutex_
    const uint64_t queueCapacity_;
    const uint64_t cacheCapacity_;
    ChannelStatistics statistics_;  // changed under bufferMutex_

    ACE_Thread_Mutex fileMutex_;
    std::unique_ptr<LogFile> logFile_;  // guarded by fileMutex_, but for its statistics
};

}  // namespace NS_LOG_SERVICE1
