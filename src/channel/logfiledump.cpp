// Makes the dump of a record of level 0, and writes that record alone where the dump finds no
// place.
#include "channel/framing.h"
#include "channel/logfile.h"

namespace NS_LOG_SERVICE1 {

// No exception comes out: the caller would keep the history, which is counted as lost.
void LogFile::AbandonDump(const LogRecord& trigger, const KeptRecords& keptBack) noexcept {
    CountHistoryDropped(keptBack.Count());
    const uint64_t handledBefore = Handled();
    try {
        LeaveFailedFile();
        WriteTriggerAlone(trigger);
    } catch (...) {
        statistics_.recordsDropped.Add(1 - (Handled() - handledBefore));
    }
}

// The history has found no place, but the record that tells of the error may find one: it is much
// smaller, and the file may be a new one.
void LogFile::WriteTriggerAlone(const LogRecord& trigger) {
    if (!IsOpen()) {
        statistics_.recordsDropped.Add(1);
        return;
    }
    FrameDump(trigger, KeptRecords(0));
    WriteFrame();
}

// The opening and the closing carry the same number.
void LogFile::FrameDump(const LogRecord& trigger, const KeptRecords& keptBack) {
    const std::string_view number = Number();
    frames_.Clear();
    AppendDumpOpening(frames_, number, stamps_.Of(trigger), trigger);
    keptBack.ForEach([this](const LogRecord& record) {
        AppendDumpedRecord(frames_, stamps_.Of(record), record);
    });
    AppendDumpClosing(frames_, number);
}

}  // namespace NS_LOG_SERVICE1
