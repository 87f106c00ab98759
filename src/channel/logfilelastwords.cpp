// What a log file writes when its process dies.
#include <cstdint>
#include <system_error>
#include <utility>

#include "channel/framing.h"
#include "channel/logfile.h"

namespace NS_LOG_SERVICE1 {

bool LogFile::WriteBeforeDeath(const RecordQueue& records, LastWords& memory,
                               const Deadline& deadline) {
    if (!IsOpen()) {
        return false;
    }
    const uint64_t writtenBefore = statistics_.recordsWritten.Get();
    uint64_t inPiece = 0;
    bool succeeds = true;
    memory.frames.Clear();
    for (auto next = records.begin(); succeeds && next != records.end(); ++next) {
        const LogRecord record = *next;
        const FrameStamp stamp = memory.stamps.Of(record);
        const size_t size = RecordSizeAtMost(stamp, record);
        if (!memory.frames.HasRoomFor(size)) {
            succeeds = WriteLastPiece(memory, inPiece) && !deadline.IsOver();
        }
        ++recordNumber_;
        if (succeeds && memory.frames.HasRoomFor(size)) {
            AppendRecord(memory.frames, Number(), stamp, record);
            ++inPiece;
        }
    }
    if (succeeds) {
        WriteLastPiece(memory, inPiece);
    }
    CountDropped(records.Count() - (statistics_.recordsWritten.Get() - writtenBefore));
    return true;
}

// Writes a piece of so many records, of which there are none then.
bool LogFile::WriteLastPiece(LastWords& memory, uint64_t& records) {
    const std::error_code error = file_.WriteWhole(memory.frames.Bytes());
    memory.frames.CutTo(0);
    if (error) {
        return false;
    }
    statistics_.recordsWritten.Add(std::exchange(records, 0));
    return true;
}

}  // namespace NS_LOG_SERVICE1
