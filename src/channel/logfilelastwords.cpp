// What a log file writes when its process dies.
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

#include "channel/framing.h"
#include "channel/logfile.h"

namespace NS_LOG_SERVICE1 {
namespace {

// Nothing when the platform throws: one record without a time must not cost the others.
std::optional<FrameStamp> StampBeforeDeath(LastWords& memory, const LogRecord& record) {
    try {
        return memory.stamps.Of(record);
    } catch (...) {  // NOLINT: counts as dropped
        return std::nullopt;
    }
}

}  // namespace

bool LogFile::WriteBeforeDeath(const RecordQueue& records, LastWords& memory,
                               const Deadline& deadline) {
    if (!IsOpen()) {
        return false;
    }
    const CurrentFile::Dying dying(file_);
    const uint64_t numberBefore = recordNumber_;
    const uint64_t writtenBefore = statistics_.recordsWritten.Get();
    uint64_t inPiece = 0;
    bool succeeds = true;
    memory.frames.Clear();
    for (auto next = records.begin(); succeeds && next != records.end(); ++next) {
        ++recordNumber_;
        const LogRecord record = *next;
        const std::optional<FrameStamp> stamp = StampBeforeDeath(memory, record);
        if (!stamp) {
            continue;
        }
        const size_t size = RecordSizeAtMost(*stamp, record);
        if (!memory.frames.HasRoomFor(size)) {
            succeeds = WriteLastPiece(memory, inPiece) && !deadline.IsOver();
        }
        if (succeeds && memory.frames.HasRoomFor(size)) {
            AppendRecord(memory.frames, Number(), *stamp, record);
            ++inPiece;
        }
    }
    if (succeeds) {
        WriteLastPiece(memory, inPiece);
    }
    statistics_.recordsDropped.Add(records.Count() -
                                   (statistics_.recordsWritten.Get() - writtenBefore));
    if (file_.KeepsRecords()) {
        recordNumber_ = numberBefore + records.Count();
    }
    return true;
}

// Writes the buffer, which holds the frames of `records` records. On success counts them as written
// and sets `records` to 0.
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
