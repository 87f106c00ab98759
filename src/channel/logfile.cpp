#include "channel/logfile.h"

#include <algorithm>
#include <string_view>
#include <system_error>

#include "base/clientwork.h"
#include "base/renew.h"
#include "channel/framing.h"
#include "channel/logfilename.h"

namespace NS_LOG_SERVICE1 {
namespace {

// The approximate maximum size of one write, of about two thousand usual records. Their frames stay
// in the processor's cache until the kernel has copied them; those of a whole queue do not, and
// take longer (docs/performance.md).
constexpr size_t kBatchSize = size_t{512} * 1024;

// More than a time stamp usually needs.
constexpr size_t kUsualStampSize = 64;

}  // namespace

LogFile::LogFile(const char* directory, const char* prefix, uint64_t sizeLimit, uint64_t countLimit)
    : sizeLimit_(sizeLimit),
      countLimit_(countLimit),
      stamps_(kUsualStampSize),
      file_(directory, prefix, statistics_) {}

LogFile::~LogFile() {
    try {
        Close();
    } catch (...) {  // NOLINT: out of memory for the closing line; the stream closes itself
    }
}

void LogFile::AfterForkInChild() {
    file_.AfterForkInChild();
    recordNumber_ = 0;
    Renew(statistics_);
}

uint64_t LogFile::Handled() const {
    return statistics_.recordsWritten.Get() + statistics_.recordsDropped.Get();
}

// Calls `write`, which numbers and writes `records` records. When it throws, counts those that it
// has not handled as dropped.
template <class Write>
void LogFile::CountingLosses(uint64_t records, Write write) {
    const uint64_t handledBefore = Handled();
    const uint64_t numberBefore = recordNumber_;
    try {
        write();
    } catch (...) {
        statistics_.recordsDropped.Add(records - (Handled() - handledBefore));
        if (file_.KeepsRecords()) {
            recordNumber_ = numberBefore + records;
        }
        throw;
    }
}

void LogFile::WriteRecord(const LogRecord& record) {
    CountingLosses(1, [&] {
        ++recordNumber_;
        if (!EnsureOpen()) {
            statistics_.recordsDropped.Add(1);
            return;
        }
        frames_.Clear();
        AppendRecord(frames_, Number(), stamps_.Of(record), record);
        WriteFrame();
    });
}

// The two sources of a batch: the records of a queue, whose frames are made here, and the records
// of threads that wait, which bring their frames.
struct LogFile::QueuedRecords {
    static constexpr bool kMayBeRetried = false;

    RecordQueue::Iterator at;
    RecordQueue::Iterator end;

    bool AtEnd() const { return at == end; }
    void Next() { ++at; }
    bool Is(const QueuedRecords& other) const { return at == other.at; }
    void AppendTo(LogFile& file) const { file.AppendNextRecord(*at); }
    void MarkDone() const {}
};

struct LogFile::GroupedRecords {
    static constexpr bool kMayBeRetried = true;  // by its own thread, which the exception reaches

    WaitingRecord* at;

    bool AtEnd() const { return at == nullptr; }
    void Next() { at = at->next; }
    bool Is(const GroupedRecords& other) const { return at == other.at; }
    void AppendTo(LogFile& file) const {
        ++file.recordNumber_;
        file.frames_.Append(at->frame.WithNumber(file.Number()));
    }
    void MarkDone() const { at->done = true; }
};

void LogFile::WriteRecords(const RecordQueue& records) {
    CountingLosses(records.Count(), [&] {
        QueuedRecords next{records.begin(), records.end()};
        while (!next.AtEnd()) {
            next = WriteBatch(next);
        }
    });
}

void LogFile::WriteBatches(WaitingRecord* first) {
    const ClientWork work;
    GroupedRecords next{first};
    while (!next.AtEnd()) {
        next = WriteBatch(next);
    }
}

// The record's write has failed. It may belong into the next file.
void LogFile::SalvageAlone(WaitingRecord& record, size_t frameSize, const WriteResult& failed) {
    const ClientWork work;
    file_.KeepOnly(0, failed);
    WriteBatches(Lose(GroupedRecords{&record}, frameSize, failed.Error()).at);
}

// Makes the frames of the records from `first` on that go into one write. Returns the first one
// that does not. `refusal` gets the platform's exception when that is the reason.
template <class Records>
Records LogFile::FrameBatch(Records first, std::exception_ptr& refusal) {
    Records next = first;
    const size_t batchSize = BatchSize();
    frames_.Clear();
    uint64_t number = recordNumber_;
    size_t size = 0;
    try {
        do {
            next.AppendTo(*this);
            next.Next();
            number = recordNumber_;
            size = frames_.Size();
        } while (!next.AtEnd() && size < batchSize);
    } catch (const std::bad_alloc&) {
        if (next.Is(first) && Records::kMayBeRetried) {
            recordNumber_ = number;  // a gap would tell of records that were lost
            throw;
        }
        // There is no memory for one more frame. Writing the frames that were made makes room for
        // it in the buffer.
    } catch (...) {
        refusal = std::current_exception();
    }
    recordNumber_ = number;
    frames_.CutTo(size);
    return next;
}

// There is no memory for the frame of one record. That is no reason to lose those after it.
template <class Records>
Records LogFile::DropUnframed(Records record) {
    ++recordNumber_;
    statistics_.recordsDropped.Add(1);
    file_.NoteNoMemory();
    record.MarkDone();
    record.Next();
    return record;
}

// Writes the records from `first` on that go into the current file. Returns the first one that does
// not. Passes on the platform's exception after the records before it, as single writes would.
template <class Records>
Records LogFile::WriteBatch(Records first) {
    if (!EnsureOpen()) {
        return DropUnready(first);
    }
    const uint64_t numberBefore = recordNumber_;
    std::exception_ptr refusal;
    const Records next = FrameBatch(first, refusal);
    if (!next.Is(first)) {
        const WriteResult result = file_.Write(frames_.Bytes());
        if (result.error != 0) {
            return SalvageBatch(first, numberBefore, result);
        }
        statistics_.recordsWritten.Add(recordNumber_ - numberBefore);
        for (; !first.Is(next); first.Next()) {
            first.MarkDone();
        }
        RotateIfFull();
    } else if (refusal == nullptr) {
        return DropUnframed(first);
    }
    if (refusal != nullptr) {
        ++recordNumber_;
        std::rethrow_exception(refusal);
    }
    return next;
}

// Returns how many bytes of frames make a batch: what the file still takes, but one write at most.
// 0: one record. A full file that could not be replaced takes whole writes.
size_t LogFile::BatchSize() const {
    if (file_.Size() >= sizeLimit_) {
        return file_.KeepsRecords() ? kBatchSize : 0;
    }
    return static_cast<size_t>(std::min<uint64_t>(kBatchSize, sizeLimit_ - file_.Size()));
}

// No file could be opened, so `first` is lost, and the next record tries again. With kKeepRecords a
// pause runs, so the rest of the batch is lost too. Returns the record to go on with.
template <class Records>
Records LogFile::DropUnready(Records first) {
    do {
        ++recordNumber_;
        statistics_.recordsDropped.Add(1);
        first.MarkDone();
        first.Next();
    } while (file_.KeepsRecords() && !first.AtEnd());
    return first;
}

// The write of the batch that began with `first` has failed. Keeps the whole records that it has
// written. Returns the record to go on with, as single writes would have done.
template <class Records>
Records LogFile::SalvageBatch(Records first, uint64_t numberBefore, const WriteResult& failed) {
    Records lost = first;
    size_t whole = 0;
    std::exception_ptr refusal;
    recordNumber_ = numberBefore;
    try {
        for (;; lost.Next()) {
            frames_.CutTo(0);  // the frames were made before: the memory for them is there
            lost.AppendTo(*this);
            if (whole + frames_.Size() > failed.written) {
                break;
            }
            whole += frames_.Size();
            lost.MarkDone();
        }
    } catch (...) {
        refusal = std::current_exception();  // the platform's, which renders the times again
    }
    file_.KeepOnly(whole, failed);
    statistics_.recordsWritten.Add(recordNumber_ - numberBefore - 1);
    if (refusal != nullptr) {
        LeaveFailedFile();
        std::rethrow_exception(refusal);
    }
    return Lose(lost, frames_.Size(), failed.Error());
}

// The record, which is numbered already, could not be written. It is lost, unless the file is full
// and gives way to the next one. Returns the record to go on with.
template <class Records>
Records LogFile::Lose(Records record, size_t frameSize, const std::error_code& error) {
    if (file_.IsFullFor(frameSize, error) && file_.BeginNext()) {
        --recordNumber_;
        return record;
    }
    statistics_.recordsDropped.Add(1);
    record.MarkDone();
    LeaveFailedFile();
    record.Next();
    return record;
}

void LogFile::WriteRecordWithDump(const LogRecord& trigger, const KeptRecords& keptBack) {
    bool written = false;
    CountingLosses(1, [&] {
        ++recordNumber_;
        if (!EnsureOpen()) {
            statistics_.recordsDropped.Add(1 + keptBack.Count());
            return;
        }
        FrameDump(trigger, keptBack);
        written = WritePiece();
        if (!written) {
            AbandonDump(trigger, keptBack);
        }
    });
    if (written) {
        statistics_.recordsWritten.Add(1);
        statistics_.recordsDumped.Add(keptBack.Count());
        RotateIfFull();
    }
}

int LogFile::ChangePath(const std::string& directory, const std::string& prefix) {
    if (directory != file_.Directory() || prefix != file_.Prefix()) {
        file_.MoveTo(directory, prefix);
    }
    return 0;
}

bool LogFile::IsLogFile(const char* name) const {
    return IsLogFileName(file_.Directory(), file_.Prefix(), name);
}

void LogFile::AppendNextRecord(const LogRecord& record) {
    ++recordNumber_;
    AppendRecord(frames_, Number(), stamps_.Of(record), record);
}

// Writes the frame of one record.
void LogFile::WriteFrame() {
    if (!WritePiece()) {
        statistics_.recordsDropped.Add(1);
        LeaveFailedFile();
        return;
    }
    statistics_.recordsWritten.Add(1);
    RotateIfFull();
}

// Writes the frame buffer whole or not at all. A file that may not grow is full: it gives way to
// the next one.
bool LogFile::WritePiece() {
    const std::string_view piece = frames_.Bytes();
    const std::error_code error = file_.WriteWhole(piece);
    return !error ||
           (file_.IsFullFor(piece.size(), error) && file_.BeginNext() && !file_.WriteWhole(piece));
}

void LogFile::LeaveFailedFile() {
    if (!file_.KeepsRecords()) {
        file_.BeginNext();
    }
}

// No exception comes out: what was written must not look as if it was not. The next piece is
// written to whatever file there is then.
void LogFile::BeginNextIfPossible() noexcept {
    const ClientWork work;
    try {
        file_.BeginNext();
    } catch (const std::bad_alloc&) {
        file_.NoteNoMemory();
    } catch (...) {  // NOLINT: the platform's; the next record asks it again
    }
}

void LogFile::CountDropped(uint64_t records) {
    statistics_.recordsDropped.Add(records);
    if (file_.KeepsRecords()) {
        recordNumber_ += records;
    }
}

}  // namespace NS_LOG_SERVICE1
