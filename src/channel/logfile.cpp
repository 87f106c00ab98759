#include "channel/logfile.h"

#include <ace/OS_NS_sys_time.h>

#include <cstdio>
#include <ctime>
#include <memory>
#include <utility>

#include "base/renew.h"
#include "bundlemgr/logsupport.h"
#include "channel/framing.h"
#include "channel/logdirectory.h"
#include "channel/logfilename.h"

namespace NS_LOG_SERVICE1 {
namespace {

// The approximate maximum size of one write. A full queue of the default length and usual records
// fits. Longer queues are written in parts, to bound the memory for their frames.
constexpr size_t kBatchSize = size_t{16} * 1024 * 1024;

std::string WithoutSeparatorAtEnd(std::string directory) {
    if (!directory.empty() && (directory.back() == '/' || directory.back() == '\\')) {
        directory.pop_back();
    }
    return directory;
}

}  // namespace

LogFile::LogFile(const char* directory, const char* prefix, uint64_t sizeLimit, uint64_t countLimit)
    : sizeLimit_(sizeLimit),
      countLimit_(countLimit),
      prefix_(prefix),
      directory_(WithoutSeparatorAtEnd(directory)) {}

LogFile::~LogFile() {
    try {
        Close();
    } catch (...) {  // NOLINT: out of memory for the closing line; the stream closes itself
    }
}

void LogFile::Open() {
    if (IsOpen()) {
        Close();
        statistics_.rotations.Add(1);
    }
    const std::string name = NewLogFileName(prefix_);
    if (const std::error_code error = CreateInDirectory(stream_, directory_, name)) {
        NoteFailure(error);
        return;
    }
    hasFile_ = true;
    currentPath_ = directory_ + "/" + name;
    frames_.Clear();
    AppendFileCreated(frames_, Stamp(ACE_OS::gettimeofday()));
    WritePiece();
}

void LogFile::Close() {
    if (!IsOpen()) {
        return;
    }
    frames_.Clear();
    AppendFileClosed(frames_, Stamp(ACE_OS::gettimeofday()));
    if (!WritePiece()) {
        WritePiece();
    }
    stream_.Close();
    hasFile_ = false;
    currentPath_.clear();
    bytesWritten_ = 0;
}

void LogFile::AfterForkInChild() {
    stream_.Close();
    hasFile_ = false;
    currentPath_.clear();
    bytesWritten_ = 0;
    recordNumber_ = 0;
    Renew(statistics_);
}

bool LogFile::EnsureOpen() {
    if (!IsOpen()) {
        Open();
    }
    return IsOpen();
}

void LogFile::WriteRecord(const LogRecord& record) {
    if (!EnsureOpen()) {
        ++recordNumber_;
        statistics_.recordsDropped.Add(1);
        return;
    }
    frames_.Clear();
    AppendNextRecord(record);
    WriteFrame();
}

// What a batch is made of: the records of a queue, whose frames are made here, or those of threads
// that wait, which come with their bodies.
struct LogFile::QueuedRecords {
    RecordQueue::Iterator at;
    RecordQueue::Iterator end;

    bool AtEnd() const { return at == end; }
    void Next() { ++at; }
    bool Is(const QueuedRecords& other) const { return at == other.at; }
    void AppendTo(LogFile& file) const { file.AppendNextRecord(*at); }
    void MarkDone() const {}
};

struct LogFile::GroupedRecords {
    WaitingRecord* at;

    bool AtEnd() const { return at == nullptr; }
    void Next() { at = at->next; }
    bool Is(const GroupedRecords& other) const { return at == other.at; }
    void AppendTo(LogFile& file) const {
        if (at->body.empty()) {
            file.AppendNextRecord(at->record);
        } else {
            AppendNumbered(file.frames_, static_cast<uint32_t>(++file.recordNumber_),
                           at->record.level, at->body);
        }
    }
    void MarkDone() const { at->done = true; }
};

void LogFile::WriteRecords(const RecordQueue& records) {
    const auto handled = [this] {
        return statistics_.recordsWritten.Get() + statistics_.recordsDropped.Get();
    };
    const uint64_t handledBefore = handled();
    try {
        QueuedRecords next{records.begin(), records.end()};
        while (!next.AtEnd()) {
            next = WriteBatch(next);
        }
    } catch (...) {
        CountDropped(records.Count() - (handled() - handledBefore));
        throw;
    }
}

void LogFile::WriteGroup(WaitingRecord* first) {
    GroupedRecords next{first};
    while (!next.AtEnd()) {
        next = WriteBatch(next);
    }
}

// Writes the records from `first` on that go into the current file. Returns the first one that does
// not.
template <class Records>
Records LogFile::WriteBatch(Records first) {
    Records next = first;
    if (!EnsureOpen()) {
        ++recordNumber_;
        statistics_.recordsDropped.Add(1);
        next.MarkDone();
        next.Next();
        return next;
    }
    const uint64_t numberBefore = recordNumber_;
    frames_.Clear();
    try {
        do {
            next.AppendTo(*this);
            next.Next();
        } while (!next.AtEnd() && frames_.Size() < kBatchSize &&
                 bytesWritten_ + frames_.Size() < sizeLimit_);
    } catch (...) {
        recordNumber_ = numberBefore;  // a gap would tell of records that were lost
        throw;
    }

    const auto [written, error] = stream_.Write(frames_.Bytes());
    if (error) {
        NoteFailure(error);
        return SalvageBatch(first, numberBefore, written);
    }
    bytesWritten_ += written;
    statistics_.bytesWritten.Add(written);
    statistics_.recordsWritten.Add(recordNumber_ - numberBefore);
    for (; !first.Is(next); first.Next()) {
        first.MarkDone();
    }
    RotateIfFull();
    return next;
}

// Only `written` bytes of the batch that began with `first` have reached the file. Keeps the whole
// records among these, drops the next one, and begins a new file, as single writes would have done.
// Returns the first record for the new file.
template <class Records>
Records LogFile::SalvageBatch(Records first, uint64_t numberBefore, size_t written) {
    Records lost = first;
    size_t whole = 0;
    recordNumber_ = numberBefore;
    for (;; lost.Next()) {
        frames_.Clear();
        lost.AppendTo(*this);
        lost.MarkDone();
        if (whole + frames_.Size() > written) {
            break;
        }
        whole += frames_.Size();
    }
    stream_.CutBack(written - whole);
    bytesWritten_ += whole;
    statistics_.bytesWritten.Add(whole);
    statistics_.recordsWritten.Add(recordNumber_ - numberBefore - 1);
    statistics_.recordsDropped.Add(1);
    Open();
    lost.Next();
    return lost;
}

void LogFile::WriteRecordWithDump(const LogRecord& trigger, const KeptRecords& keptBack) {
    ++recordNumber_;
    if (!EnsureOpen()) {
        statistics_.recordsDropped.Add(1 + keptBack.Count());
        return;
    }
    FrameDump(trigger, keptBack);
    if (!WritePiece()) {
        statistics_.recordsDropped.Add(keptBack.Count());
        Open();
        WriteTriggerAlone(trigger);
        return;
    }
    statistics_.recordsWritten.Add(1);
    statistics_.recordsDumped.Add(keptBack.Count());
    RotateIfFull();
}

// The history has found no place, but the record that tells of the error may find one: it is much
// smaller, and the file is a new one.
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
    const auto number = static_cast<uint32_t>(recordNumber_);
    frames_.Clear();
    AppendDumpOpening(frames_, number, Stamp(trigger.time), trigger);
    keptBack.ForEach([this](const LogRecord& record) {
        AppendDumpedRecord(frames_, Stamp(record.time), record);
    });
    AppendDumpClosing(frames_, number);
}

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
        NS_BUNDLEMGR1::GetZoneTimeStamp(record.time, memory.stamp);
        const size_t size = RecordSizeAtMost(memory.stamp, record);
        if (!memory.frames.HasRoomFor(size)) {
            succeeds = WriteLastPiece(memory, inPiece) && !deadline.IsOver();
        }
        ++recordNumber_;
        if (succeeds && memory.frames.HasRoomFor(size)) {
            AppendRecord(memory.frames, static_cast<uint32_t>(recordNumber_), memory.stamp, record);
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
    const auto [written, error] = stream_.Write(memory.frames.Bytes());
    memory.frames.Clear();
    if (error) {
        NoteFailure(error);
        stream_.CutBack(written);
        return false;
    }
    bytesWritten_ += written;
    statistics_.bytesWritten.Add(written);
    statistics_.recordsWritten.Add(std::exchange(records, 0));
    return true;
}

int LogFile::ChangePath(const std::string& directory, const std::string& prefix) {
    if (directory == directory_ && prefix == prefix_) {
        return 0;
    }
    directory_ = directory;
    prefix_ = prefix;
    if (!IsOpen()) {
        Open();
        return 0;
    }
    const std::string oldPath = currentPath_;
    Close();
    Open();
    if (IsOpen() && TakeContentsOf(oldPath)) {
        std::remove(oldPath.c_str());
    }
    return 0;
}

bool LogFile::IsLogFile(const char* name) const {
    return IsLogFileName(directory_, prefix_, name);
}

const std::string& LogFile::Stamp(const ACE_Time_Value& time) {
    NS_BUNDLEMGR1::GetZoneTimeStamp(time, stamp_);
    return stamp_;
}

void LogFile::AppendNextRecord(const LogRecord& record) {
    ++recordNumber_;
    AppendRecord(frames_, static_cast<uint32_t>(recordNumber_), Stamp(record.time), record);
}

// Writes the frame of one record; a file that fails, or is full now, is left for a new one.
void LogFile::WriteFrame() {
    if (!WritePiece()) {
        statistics_.recordsDropped.Add(1);
        Open();
        return;
    }
    statistics_.recordsWritten.Add(1);
    RotateIfFull();
}

// Writes the frame buffer whole or not at all.
bool LogFile::WritePiece() {
    const auto [written, error] = stream_.Write(frames_.Bytes());
    if (error) {
        NoteFailure(error);
        stream_.CutBack(written);
        return false;
    }
    bytesWritten_ += written;
    statistics_.bytesWritten.Add(written);
    return true;
}

void LogFile::NoteFailure(const std::error_code& error) {
    statistics_.lastError.Set(static_cast<uint64_t>(error.value()));
    statistics_.lastErrorSecond.Set(static_cast<uint64_t>(std::time(nullptr)));
}

void LogFile::RotateIfFull() {
    if (bytesWritten_ >= sizeLimit_) {
        Open();
    }
}

// Appends the contents of the file at `path`, all or nothing: a part could end in the middle of a
// record. Returns whether the file at `path` may be removed: all of it was copied, or it cannot be
// read at all.
bool LogFile::TakeContentsOf(const std::string& path) {
    if (stream_.IsSameFile(path)) {
        return false;  // another spelling of the same directory
    }
    const std::unique_ptr<FILE, int (*)(FILE*)> old(std::fopen(CanonicalPath(path).c_str(), "re"),
                                                    &std::fclose);
    if (old == nullptr) {
        return true;
    }
    constexpr size_t kChunkSize = 4096;
    const uint64_t bytesBefore = bytesWritten_;
    bool taken = true;
    size_t length = 0;
    do {
        frames_.Clear();
        char* chunk = frames_.Reserve(kChunkSize);
        length = std::fread(chunk, 1, kChunkSize, old.get());
        frames_.Commit(chunk + length);
        taken = WritePiece();
    } while (taken && length == kChunkSize);
    if (!taken || std::ferror(old.get()) != 0) {
        stream_.CutBack(bytesWritten_ - bytesBefore);
        bytesWritten_ = bytesBefore;
        return false;
    }
    return true;
}

}  // namespace NS_LOG_SERVICE1
