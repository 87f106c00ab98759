#include "channel/channel.h"

#include <ace/OS_NS_sys_time.h>
#include <pthread.h>

#include <utility>

#include "bundlemgr/logsupport.h"
#include "channel/logfilename.h"
#include "qv_base_log/loglevel.h"
#include "record/contextheader.h"
#include "record/packedrecord.h"

namespace NS_LOG_SERVICE1 {
namespace {

// A record that the channel itself writes, in the name of the calling thread. `context` outlives
// the result.
LogRecord OwnRecord(int level, const char* function, const char* detail, const std::string& context,
                    uint32_t line) {
    LogRecord record;
    record.level = level;
    record.time = ACE_OS::gettimeofday();
    record.thread = pthread_self();
    record.firstName = "base";
    record.secondName = "log";
    record.function = function;
    record.line = line;
    record.detail = detail;
    record.context = context;
    return record;
}

}  // namespace

TEDebugInfoBuf::TEDebugInfoBuf(const char* category, const uint32_t& queuebuflength,
                               const uint32_t& filterbuflength, const uint32_t& logfilesize,
                               const uint32_t& logfilecount)
    : keptBack_(filterbuflength),
      queueCapacity_(queuebuflength),
      keptCapacity_(filterbuflength),
      logFile_(std::make_unique<LogFile>(NS_BUNDLEMGR1::GetNBILogPath().c_str(),
                                         LogFilePrefix(category).c_str(), logfilesize,
                                         logfilecount)) {}

TEDebugInfoBuf::~TEDebugInfoBuf() {
    try {
        Flush();
    } catch (...) {
        // Writing has failed in a way that is not understood: the file is left as it is, without a
        // closing line that would say all is well.
        [[maybe_unused]] LogFile* leftOpen = logFile_.release();
    }
}

void TEDebugInfoBuf::Output(const LogRecord& record) {
    if (record.level == LOG_LEVEL_0) {
        WriteDump(record, false);
        return;
    }
    const Guard fileGuard(fileMutex_);
    logFile_->WriteRecord(record);
}

void TEDebugInfoBuf::AppendOutputInfo(const LogRecord& record) {
    if (record.level == LOG_LEVEL_0) {
        WriteDump(record, true);
        return;
    }
    const size_t packedSize = PackedSize(record);
    RecordQueue::Chunks outsized;
    Guard bufferGuard(bufferMutex_);
    while (!queue_.HasRoomFor(packedSize)) {
        bufferGuard.Release();
        RecordQueue::Chunks chunk = RecordQueue::MakeChunk(packedSize);
        bufferGuard.Acquire();
        queue_.AddChunk(chunk);
    }
    queue_.Append(record);
    CountBuffered();
    if (queue_.Count() >= queueCapacity_) {
        outsized = WriteFullQueue();
        CountBuffered();
    }
    bufferGuard.Release();
}

void TEDebugInfoBuf::AppendFiltered(const LogRecord& record) {
    PackedRecord kept(record);
    PackedRecord evicted;
    Guard bufferGuard(bufferMutex_);
    const bool full = keptBack_.Count() == keptCapacity_;
    evicted = keptBack_.Append(std::move(kept));
    statistics_.evicted.Add(full ? 1 : 0);
    CountBuffered();
    bufferGuard.Release();
}

void TEDebugInfoBuf::Flush() {
    RecordQueue taken;
    {
        const Guard bufferGuard(bufferMutex_);
        queue_.MoveRecordsTo(taken);
        CountBuffered();
    }
    // Between the two locks another thread may write newer records: logging goes on while the old
    // ones wait for the file.
    {
        const Guard fileGuard(fileMutex_);
        WriteAll(taken);
    }
    GiveBack(taken);
}

void TEDebugInfoBuf::OutputAll() {
    RecordQueue takenQueue;
    KeptRecords takenKept(keptCapacity_);
    {
        const Guard bufferGuard(bufferMutex_);
        queue_.MoveRecordsTo(takenQueue);
        takenKept.Swap(keptBack_);
        CountBuffered();
    }
    {
        const Guard fileGuard(fileMutex_);
        WriteAll(takenQueue);
        const std::string context = BuildContextHeader();
        logFile_->WriteRecordWithDump(
            OwnRecord(LOG_LEVEL_3, "TEDebugInfoBuf::OutputAll",
                      "The follow message was dump by maintenance command flushall.", context,
                      __LINE__),
            takenKept);
        logFile_->Flush();
    }
    GiveBack(takenQueue);
}

int TEDebugInfoBuf::ChangePath(const std::string& directory, const std::string& prefix) {
    const Guard fileGuard(fileMutex_);
    return logFile_->ChangePath(directory, prefix);
}

std::string TEDebugInfoBuf::CurrentPath() {
    const Guard fileGuard(fileMutex_);
    return logFile_->CurrentPath();
}

void TEDebugInfoBuf::WriteAll(const RecordQueue& records) {
    if (!logFile_->EnsureOpen()) {
        logFile_->CountDropped(records.Count());
        return;
    }
    logFile_->WriteRecords(records);
    logFile_->Flush();
}

void TEDebugInfoBuf::WriteDump(const LogRecord& trigger, bool withQueue) {
    RecordQueue::Chunks outsized;
    KeptRecords dumped(keptCapacity_);
    Guard bufferGuard(bufferMutex_);
    Guard fileGuard(fileMutex_);
    if (withQueue) {
        WriteAll(queue_);
        outsized = queue_.Clear();
    }
    logFile_->WriteRecordWithDump(trigger, keptBack_);
    fileGuard.Release();
    // Not before: a dump for which there is no memory leaves the cache as it was.
    dumped.Swap(keptBack_);
    CountBuffered();
    bufferGuard.Release();
}

RecordQueue::Chunks TEDebugInfoBuf::WriteFullQueue() {
    const std::string context = BuildContextHeader();
    const LogRecord notice =
        OwnRecord(LOG_LEVEL_1, "TEDebugInfoBuf::AppendOutputInfo",
                  "Debug cache is full, force output execute.", context, __LINE__);
    const Guard fileGuard(fileMutex_);
    WriteAll(queue_);
    RecordQueue::Chunks outsized = queue_.Clear();
    logFile_->WriteRecord(notice);
    return outsized;
}

void TEDebugInfoBuf::GiveBack(RecordQueue& written) {
    const RecordQueue::Chunks outsized = written.Clear();
    const Guard bufferGuard(bufferMutex_);
    queue_.TakeChunks(written);
}

void TEDebugInfoBuf::CountBuffered() {
    statistics_.queued.Set(queue_.Count());
    statistics_.queuedMost.RaiseTo(queue_.Count());
    statistics_.keptBack.Set(keptBack_.Count());
}

}  // namespace NS_LOG_SERVICE1
