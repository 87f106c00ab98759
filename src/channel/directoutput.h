// The way of a record that is written at once and comes alone, as most do. Whoever calls
// TEDebugInfoBuf::Output with the memory of its call includes this.
//
// All of it is inlined into the logging call. The processor predicts the returns behind a system
// call wrongly, and each function between the caller and the write takes 10 to 20 ns of a record.
//
// None of it is a cancellation point: looking at a mutex is none, waiting for one is none
// (base/mutex), and neither is the write itself (FileStream). So the thread need not be kept from
// being cancelled, which costs every record two locked instructions. What happens seldom may open
// and close files or wait, and is ClientWork: the functions that are called from here without being
// inlined.
#pragma once

#include "base/clientwork.h"
#include "channel/channel.h"
#include "qv_base_log/loglevel.h"

namespace NS_LOG_SERVICE1 {

// Done before the lock is taken, because it needs none. Without an open file there is no frame yet:
// the time of the file's first line is rendered before that of its first record.
__attribute__((always_inline)) inline UnnumberedFrame TEDebugInfoBuf::FrameAhead(
    const LogRecord& record, CallMemory& memory) {
    if (!HasFile()) {
        return UnnumberedFrame();
    }
    return UnnumberedFrame(memory.frame, memory.stamps.Of(record), record);
}

__attribute__((always_inline)) inline void TEDebugInfoBuf::WriteAlone(WaitingRecord& record) {
    waiting_.BeginAlone();  // a thread that comes during the wait for the mutex joins a group
    const Guard fileGuard(fileMutex_);
    waiting_.BeginAlone();  // again: another thread may have called EndAlone meanwhile
    statistics_.receivedDirectly.Add(1);
    try {
        logFile_->WriteGroup(&record);
    } catch (...) {  // NOLINT: a record that is not done is tried again, and its thread meets it
    }
    waiting_.EndAlone();
}

__attribute__((always_inline)) inline void TEDebugInfoBuf::Output(const LogRecord& record,
                                                                  CallMemory& memory) {
    if (record.level == LOG_LEVEL_0) {
        WriteDump(record, false);
        return;
    }
    const KeptErrno kept;
    Acceptance acceptance(this);
    WaitingRecord waiting(FrameAhead(record, memory));
    acceptance.Done();
    if (waiting.frame.IsEmpty()) {
        WriteFirst(record);
        return;
    }
    if (waiting_.MayWriteAlone()) {
        WriteAlone(waiting);
    } else {
        WriteWithOthers(waiting);
    }
    if (!waiting.done) {
        WriteAgain(record);
    }
}

}  // namespace NS_LOG_SERVICE1
