#include "channel/channel.h"

#include <utility>

#include "base/clientwork.h"
#include "base/renew.h"
#include "bundlemgr/logsupport.h"
#include "channel/directoutput.h"
#include "channel/logfilename.h"
#include "channel/ownrecord.h"
#include "qv_base_log/loglevel.h"
#include "record/packedrecord.h"

namespace NS_LOG_SERVICE1 {
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
    const ClientWork work;
    try {
        Flush();
        logFile_.reset();  // here, where the thread cannot be cancelled
    } catch (...) {
        // An unknown error. Leave the file as it is: a closing line would say that it is complete.
        [[maybe_unused]] LogFile* leftOpen = logFile_.release();
    }
}

void TEDebugInfoBuf::Output(const LogRecord& record) {
    const BorrowedCallMemory memory;
    Output(record, *memory);
}

// There was no file: an exception from its opening is the caller's, and no other thread's.
void TEDebugInfoBuf::WriteFirst(const LogRecord& record) {
    const ClientWork work;
    const Guard fileGuard(fileMutex_);
    statistics_.receivedDirectly.Add(1);
    logFile_->WriteRecord(record);
}

void TEDebugInfoBuf::WriteAgain(const LogRecord& record) {
    const ClientWork work;
    const Guard fileGuard(fileMutex_);
    logFile_->WriteRecord(record);
}

void TEDebugInfoBuf::WriteWithOthers(WaitingRecord& record) {
    const ClientWork work;
    if (waiting_.Join(record)) {
        WriteGroup(record);
    } else {
        WaitingRecords::AwaitWriter(record);
    }
}

void TEDebugInfoBuf::TryWriteGroup(WaitingRecord* group) {
    for (const WaitingRecord* record = group; record != nullptr; record = record->next) {
        statistics_.receivedDirectly.Add(1);
    }
    try {
        logFile_->WriteGroup(group);
    } catch (...) {  // NOLINT: whose record is not done tries again alone, and meets it then
    }
}

void TEDebugInfoBuf::WriteGroup(const WaitingRecord& own) {
    WaitingRecord* group = nullptr;
    waiting_.AwaitTurn();
    {
        const Guard fileGuard(fileMutex_);
        group = waiting_.BeginWriting();
        TryWriteGroup(group);
    }
    waiting_.EndWriting(group, own);
}

void TEDebugInfoBuf::AppendOutputInfo(const LogRecord& record) {
    if (record.level == LOG_LEVEL_0) {
        WriteDump(record, true);
        return;
    }
    Acceptance acceptance(this);
    const size_t packedSize = PackedSize(record);
    RecordQueue full;
    Guard bufferGuard(bufferMutex_, MutexWait::kYieldThenSleep);
    while (!queue_.HasRoomFor(packedSize)) {
        bufferGuard.Release();
        RecordQueue::Chunks chunk = RecordQueue::MakeChunk(packedSize);
        bufferGuard.Acquire();
        queue_.AddChunk(chunk);
    }
    queue_.Append(record);
    acceptance.Done();
    statistics_.received.Add(1);
    CountBuffered();
    if (!IsQueueFull()) {
        return;
    }
    const ClientWork work;
    LogRecord notice = OwnRecord(LOG_LEVEL_1, "TEDebugInfoBuf::AppendOutputInfo",
                                 "Debug cache is full, force output execute.", __LINE__);
    const std::string context = ContextIfPossible();
    notice.context = context;
    // Taken before the queue is let go of, so that batches reach the file in their order. The
    // others fill the next queue while this one is written.
    Guard fileGuard(fileMutex_);
    queue_.MoveRecordsTo(full);
    statistics_.received.Add(1);  // the notice
    CountBuffered();
    bufferGuard.Release();
    WriteAllBefore(full, 0);
    logFile_->WriteRecord(notice);
    fileGuard.Release();
    GiveBack(full);
}

void TEDebugInfoBuf::AppendFiltered(const LogRecord& record) {
    const BorrowedCallMemory memory;
    AppendFiltered(record, *memory);
}

void TEDebugInfoBuf::AppendFiltered(const LogRecord& record, CallMemory& memory) {
    Acceptance acceptance(this);
    memory.spare.Set(record);
    const Guard bufferGuard(bufferMutex_);
    const bool full = keptBack_.Count() == keptCapacity_;
    memory.spare = keptBack_.Append(std::move(memory.spare));
    acceptance.Done();
    statistics_.received.Add(1);
    statistics_.evicted.Add(full ? 1 : 0);
    statistics_.keptBack.Set(keptBack_.Count());
}

void TEDebugInfoBuf::Flush() {
    const ClientWork work;
    RecordQueue taken;
    {
        const Guard bufferGuard(bufferMutex_);
        queue_.MoveRecordsTo(taken);
        CountBuffered();
    }
    // Another thread may write newer records between the two locks. So logging continues while the
    // old records wait for the file.
    {
        const Guard fileGuard(fileMutex_);
        WriteAll(taken);
    }
    GiveBack(taken);
}

void TEDebugInfoBuf::OutputAll() {
    const ClientWork work;
    RecordQueue takenQueue;
    KeptRecords takenKept(keptCapacity_);
    {
        const Guard bufferGuard(bufferMutex_);
        queue_.MoveRecordsTo(takenQueue);
        takenKept.Swap(keptBack_);
        statistics_.received.Add(1);  // the record that heads the dump
        CountBuffered();
    }
    {
        const Guard fileGuard(fileMutex_);
        WriteAllBefore(takenQueue, takenKept.Count());
        LogRecord head =
            OwnRecord(LOG_LEVEL_3, "TEDebugInfoBuf::OutputAll",
                      "The follow message was dump by maintenance command flushall.", __LINE__);
        const std::string context = ContextIfPossible();
        head.context = context;
        try {
            logFile_->WriteRecordWithDump(head, takenKept);
        } catch (...) {
            logFile_->CountHistoryDropped(takenKept.Count());
            throw;
        }
        logFile_->Flush();
    }
    GiveBack(takenQueue);
}

int TEDebugInfoBuf::ChangePath(const std::string& directory, const std::string& prefix) {
    const ClientWork work;
    const Guard fileGuard(fileMutex_);
    return logFile_->ChangePath(directory, prefix);
}

bool TEDebugInfoBuf::TryLocks() {
    if (!bufferMutex_.TryAcquire()) {
        return false;
    }
    if (!fileMutex_.TryAcquire()) {
        bufferMutex_.release();
        return false;
    }
    return true;
}

void TEDebugInfoBuf::ReleaseLocks() {
    fileMutex_.release();
    bufferMutex_.release();
}

bool TEDebugInfoBuf::AwaitFree(const Deadline& deadline) {
    const bool free = deadline.Await([this] { return TryLocks(); });
    if (free) {
        ReleaseLocks();
    }
    return free;
}

// Unanalysed: TryLocks says whether the mutexes are held.
bool TEDebugInfoBuf::WriteBeforeDeath(LastWords& memory,
                                      const Deadline& deadline) noexcept NO_THREAD_SAFETY_ANALYSIS {
    if (!TryLocks()) {
        return false;
    }
    try {
        if (queue_.Count() != 0 && logFile_->WriteBeforeDeath(queue_, memory, deadline)) {
            queue_.AppendRecordsTo(lastRecords_);
            CountBuffered();
        }
    } catch (...) {  // NOLINT: whatever it is, the process dies anyway
    }
    ReleaseLocks();
    return true;
}

void TEDebugInfoBuf::BeforeFork() {
    bufferMutex_.BeforeFork();
    fileMutex_.BeforeFork();
}

void TEDebugInfoBuf::AfterForkInParent() {
    fileMutex_.AfterForkInParent();
    bufferMutex_.AfterForkInParent();
}

// Unanalysed: both mutexes are held since BeforeFork.
void TEDebugInfoBuf::AfterForkInChild() NO_THREAD_SAFETY_ANALYSIS {
    const RecordQueue::Chunks outsized = queue_.Clear();
    keptBack_.Clear();
    waiting_.AfterForkInChild();
    logFile_->AfterForkInChild();
    Renew(statistics_);
    fileMutex_.AfterForkInChild();
    bufferMutex_.AfterForkInChild();
}

void TEDebugInfoBuf::SetFilePolicy(FilePolicy policy) {
    const Guard fileGuard(fileMutex_);
    logFile_->SetPolicy(policy);
}

void TEDebugInfoBuf::Rotate() {
    const ClientWork work;
    const Guard fileGuard(fileMutex_);
    logFile_->Rotate();
}

void TEDebugInfoBuf::Reopen() {
    const ClientWork work;
    const Guard fileGuard(fileMutex_);
    logFile_->Reopen();
}

void TEDebugInfoBuf::WriteAllBefore(const RecordQueue& records, uint64_t history) {
    try {
        WriteAll(records);
    } catch (...) {
        logFile_->CountDropped(1);
        logFile_->CountHistoryDropped(history);
        throw;
    }
}

void TEDebugInfoBuf::WriteAll(const RecordQueue& records) {
    bool open = false;
    try {
        open = logFile_->EnsureOpen();
    } catch (...) {
        logFile_->CountDropped(records.Count());
        throw;
    }
    if (!open) {
        logFile_->CountDropped(records.Count());
        return;
    }
    logFile_->WriteRecords(records);
    logFile_->Flush();
}

void TEDebugInfoBuf::WriteDump(const LogRecord& trigger, bool withQueue) {
    const ClientWork work;
    Acceptance acceptance(this);
    RecordQueue queued;
    KeptRecords dumped(keptCapacity_);
    Guard bufferGuard(bufferMutex_);
    statistics_.received.Add(1);
    acceptance.Done();
    Guard fileGuard(fileMutex_);
    if (withQueue) {
        queue_.MoveRecordsTo(queued);
        CountBuffered();
        WriteAllBefore(queued, 0);
    }
    logFile_->WriteRecordWithDump(trigger, keptBack_);
    fileGuard.Release();
    // Not before: a dump for which there is no memory leaves the history as it was.
    dumped.Swap(keptBack_);
    CountBuffered();
    bufferGuard.Release();
    if (withQueue) {
        GiveBack(queued);
    }
}

void TEDebugInfoBuf::GiveBack(RecordQueue& written) {
    const RecordQueue::Chunks outsized = written.Clear();
    const Guard bufferGuard(bufferMutex_);
    queue_.TakeChunks(written);
}

bool TEDebugInfoBuf::IsQueueFull() const {
    const uint64_t bytes = queueBytes_;
    return queue_.Count() >= queueCapacity_ || (bytes != 0 && queue_.TextBytes() >= bytes);
}

void TEDebugInfoBuf::CountBuffered() {
    statistics_.queued.Set(queue_.Count());
    statistics_.queuedMost.RaiseTo(queue_.Count());
    statistics_.queuedBytes.Set(queue_.TextBytes());
    statistics_.keptBack.Set(keptBack_.Count());
}

}  // namespace NS_LOG_SERVICE1
