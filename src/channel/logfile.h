// The text log file of one channel: its name, its creation and rotation, and what is written to it.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <system_error>

#include "base/deadline.h"
#include "base/decimaltext.h"
#include "channel/currentfile.h"
#include "channel/filepolicy.h"
#include "channel/framebuffer.h"
#include "channel/framestamps.h"
#include "channel/lastwords.h"
#include "channel/logfilestatistics.h"
#include "channel/waitingrecords.h"
#include "record/keptrecords.h"
#include "record/logrecord.h"
#include "record/recordqueue.h"

namespace NS_LOG_SERVICE1 {

// The size of a file is limited: the write that reaches the limit is completed, and then a new file
// begins. Each piece is written by one system call. When that fails, the file is cut back to its
// last whole record and the piece is lost. Then a new file begins. Under FilePolicy::kKeepRecords a
// pause begins instead, and the pieces that come in it are lost too. The next piece goes to the
// same file if there was no room, and to a new file after any other error.
//
// The count limit is only stored: no file is removed because of it.
//
// When an operation throws, as for lack of memory, what it has not written of its records is
// counted as dropped. The kept-back records of a dump stay as they were then.
//
// What stands here with its text is inlined into the call that writes a record alone.
//
// Thread safety: none; the channel's file mutex guards it.
class LogFile {
  public:
    // Opens no file. Removes one separator at the end of `directory`. Stores `countLimit` only.
    LogFile(const char* directory, const char* prefix, uint64_t sizeLimit, uint64_t countLimit);

    // Closes the file.
    ~LogFile();

    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    void SetPolicy(FilePolicy policy) { file_.SetPolicy(policy); }

    // Begins a new file with its "File create" line in the place of the current one, if any. When
    // that fails, nothing is reported and each later write tries again; see CurrentFile for what
    // the policies do with the current file.
    void Open() { file_.BeginNext(); }

    // The same on an operator's order; see CurrentFile.
    void Rotate() { file_.Rotate(); }
    void Reopen() { file_.Reopen(); }

    // Writes the closing line, twice if the first try fails, and closes.
    void Close() { file_.Close(); }

    // Opens a file if none is open. Returns whether records can be written now: one is open, and it
    // does not pause after a failure.
    bool EnsureOpen() { return file_.IsReady(); }

    // Ends a batch. Does nothing, because each write reaches the kernel at once.
    void Flush() {}

    // Writes one record. A record that cannot be written uses up its number too.
    void WriteRecord(const LogRecord& record);

    // Writes all records in order. The files get the same bytes as from single writes. But one
    // write has many records of a file, about 512 KiB at most.
    void WriteRecords(const RecordQueue& records);

    // Writes the records of threads that wait, in the same way, and marks each that is done with.
    void WriteGroup(WaitingRecord* first) {
        if (first->next == nullptr && file_.IsSound()) {
            WriteAlone(*first);
        } else {
            WriteBatches(first);
        }
    }

    // Writes one dump of the trigger and the kept-back records. It is never split over two files.
    // When the dump cannot be written, the kept-back records are lost; the trigger is written as a
    // dump without any, into the new file if one begins.
    void WriteRecordWithDump(const LogRecord& trigger, const KeptRecords& keptBack);

    // In a child process: forgets the file without a closing line, because it is the parent's. What
    // the child writes goes to a file of its own, numbered and counted from the beginning.
    void AfterForkInChild();

    // Writes records of a process that dies: into the file that is open, and into no other one,
    // without allocating, until the deadline. Returns false, and has done nothing, when no file is
    // open. Records that are not written are counted as dropped.
    bool WriteBeforeDeath(const RecordQueue& records, LastWords& memory, const Deadline& deadline);

    // Counts records that were lost before they were numbered: no file was open, or an exception
    // came. Under FilePolicy::kKeepRecords they use up numbers, so that the gap shows how many.
    void CountDropped(uint64_t records);

    // Counts kept-back records that were lost. They have no numbers.
    void CountHistoryDropped(uint64_t records) { statistics_.recordsDropped.Add(records); }

    // Changes the directory and the prefix: begins a new file there, copies the current file's
    // contents into it and removes the old file. Keeps the old file when the new one cannot be
    // opened or cannot take all of the contents. Always returns 0.
    int ChangePath(const std::string& directory, const std::string& prefix);

    // Returns whether the entry `name` of the directory is a log file.
    bool IsLogFile(const char* name) const;

    bool IsOpen() const { return file_.IsOpen(); }
    // For any thread, perhaps a little late.
    bool HasFile() const { return file_.HasFile(); }
    OpenedFile Opened() const { return file_.Opened(); }
    // Empty while no file is open.
    const std::string& CurrentPath() const { return file_.Path(); }
    uint64_t CountLimit() const { return countLimit_; }
    const LogFileStatistics& Statistics() const { return statistics_; }

  private:
    // The digits of the number of the last record framed, valid until the next call.
    std::string_view Number() { return numberText_.Of(static_cast<uint32_t>(recordNumber_)); }
    void AppendNextRecord(const LogRecord& record);
    struct QueuedRecords;
    struct GroupedRecords;
    uint64_t Handled() const;
    template <class Write>
    void CountingLosses(uint64_t records, Write write);
    template <class Records>
    Records WriteBatch(Records first);
    // Most groups are one record. Its frame is written from where its thread has made it.
    void WriteAlone(WaitingRecord& record) {
        ++recordNumber_;
        const std::string_view frame = record.frame.WithNumber(Number());
        const WriteResult result = file_.Write(frame);
        if (result.error != 0) {
            SalvageAlone(record, frame.size(), result);
            return;
        }
        statistics_.recordsWritten.Add(1);
        record.done = true;
        RotateIfFull();
    }
    // Not inlined: hardly ever called.
    __attribute__((noinline)) void SalvageAlone(WaitingRecord& record, size_t frameSize,
                                                const WriteResult& failed);
    __attribute__((noinline)) void WriteBatches(WaitingRecord* first);
    template <class Records>
    Records FrameBatch(Records first, std::exception_ptr& refusal);
    template <class Records>
    Records DropUnframed(Records record);
    template <class Records>
    Records DropUnready(Records first);
    template <class Records>
    Records SalvageBatch(Records first, uint64_t numberBefore, const WriteResult& failed);
    template <class Records>
    Records Lose(Records record, size_t frameSize, const std::error_code& error);
    size_t BatchSize() const;
    void FrameDump(const LogRecord& trigger, const KeptRecords& keptBack);
    void AbandonDump(const LogRecord& trigger, const KeptRecords& keptBack) noexcept;
    void WriteTriggerAlone(const LogRecord& trigger);
    void WriteFrame();
    bool WritePiece();
    bool WriteLastPiece(LastWords& memory, uint64_t& records);
    void LeaveFailedFile();
    void RotateIfFull() noexcept {
        if (file_.Size() >= sizeLimit_) {
            BeginNextIfPossible();
        }
    }
    __attribute__((noinline)) void BeginNextIfPossible() noexcept;

    uint64_t sizeLimit_;
    uint64_t countLimit_;
    uint64_t recordNumber_ = 0;  // of the last record framed; goes on across files
    FrameBuffer frames_;         // what is written next; its memory is used again
    DecimalText numberText_;
    FrameStamps stamps_;
    LogFileStatistics statistics_;
    CurrentFile file_;
};

}  // namespace NS_LOG_SERVICE1
