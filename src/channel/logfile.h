// The text log file of one channel: its name, its creation and rotation, and what is written to it.
#pragma once

#include <cstdint>
#include <string>
#include <system_error>

#include "channel/counter.h"
#include "channel/filestream.h"
#include "channel/framebuffer.h"
#include "channel/lastwords.h"
#include "channel/waitingrecords.h"
#include "record/keptrecords.h"
#include "record/logrecord.h"
#include "record/recordqueue.h"

namespace NS_LOG_SERVICE1 {

// What a log file has done so far. Changed by the LogFile, read by any thread.
struct LogFileStatistics {
    Counter recordsWritten;   // in frames of their own, and as triggers of dumps
    Counter recordsDumped;    // kept back first, then written inside a dump
    Counter recordsDropped;   // no file could be opened, or a write failed
    Counter bytesWritten;     // everything that reached the files
    Counter rotations;        // files opened in the place of another one
    Counter lastError;        // errno of the last failure; 0: none yet
    Counter lastErrorSecond;  // when it was, in seconds of the wall clock
};

// The size of a file is limited: the write that reaches the limit is completed, and then a new file
// begins. Each piece is written by one system call. When that fails, the file is cut back to its
// last whole record, the piece is lost and a new file begins.
//
// The count limit is only stored: no file is removed because of it.
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

    // Closes the current file, if any, and begins a new one with its "File create" line. When that
    // fails, the object stays closed and nothing is reported. Each later write tries again.
    void Open();

    // Writes the closing line, twice if the first try fails, and closes.
    void Close();

    // Opens a file if none is open. Returns whether one is open then.
    bool EnsureOpen();

    // Ends a batch. Does nothing, because each write reaches the kernel at once.
    void Flush() {}

    // Writes one record. A record that cannot be written uses up its number too.
    void WriteRecord(const LogRecord& record);

    // Writes all records in order. The files are the same as when each record is written by itself,
    // but all records that go into one file are written at once.
    void WriteRecords(const RecordQueue& records);

    // Writes the records of threads that wait, in the same way, and marks each that is done with.
    void WriteGroup(WaitingRecord* first);

    // Writes one dump of the trigger and the kept-back records. It is never split over two files.
    // When the dump cannot be written, the kept-back records are lost; the trigger goes into a new
    // file as a dump without any.
    void WriteRecordWithDump(const LogRecord& trigger, const KeptRecords& keptBack);

    // In a child process: forgets the file without a closing line, because it is the parent's. What
    // the child writes goes to a file of its own, numbered and counted from the beginning.
    void AfterForkInChild();

    // Counts records that were lost because EnsureOpen failed.
    void CountDropped(uint64_t records) { statistics_.recordsDropped.Add(records); }

    // Writes records of a process that dies: into the file that is open, and into no other one,
    // without allocating, until the deadline. Returns false, and has done nothing, when no file is
    // open. Records that are not written are counted as dropped.
    bool WriteBeforeDeath(const RecordQueue& records, LastWords& memory, const Deadline& deadline);

    // Changes the directory and the prefix: begins a new file there, copies the current file's
    // contents into it and removes the old file. Keeps the old file when the new one cannot be
    // opened or cannot take all of the contents. Always returns 0.
    int ChangePath(const std::string& directory, const std::string& prefix);

    // Returns whether the entry `name` of the directory is a log file.
    bool IsLogFile(const char* name) const;

    bool IsOpen() const { return stream_.IsOpen(); }
    // The same for any thread, perhaps a little late.
    bool HasFile() const { return hasFile_; }
    // Empty while no file is open.
    const std::string& CurrentPath() const { return currentPath_; }
    uint64_t CountLimit() const { return countLimit_; }
    const LogFileStatistics& Statistics() const { return statistics_; }

  private:
    // Returns `time` as the platform formats it, valid until the next call.
    const std::string& Stamp(const ACE_Time_Value& time);
    void AppendNextRecord(const LogRecord& record);
    struct QueuedRecords;
    struct GroupedRecords;
    template <class Records>
    Records WriteBatch(Records first);
    template <class Records>
    Records SalvageBatch(Records first, uint64_t numberBefore, size_t written);
    void FrameDump(const LogRecord& trigger, const KeptRecords& keptBack);
    void WriteTriggerAlone(const LogRecord& trigger);
    void WriteFrame();
    bool WritePiece();
    bool WriteLastPiece(LastWords& memory, uint64_t& records);
    void NoteFailure(const std::error_code& error);
    void RotateIfFull();
    bool TakeContentsOf(const std::string& path);

    FileStream stream_;
    RelaxedAtomic<bool> hasFile_{false};
    uint64_t bytesWritten_ = 0;  // to the current file
    uint64_t sizeLimit_;
    uint64_t countLimit_;
    uint64_t recordNumber_ = 0;  // of the last record framed; goes on across files
    std::string prefix_;
    std::string directory_;
    std::string currentPath_;
    FrameBuffer frames_;  // what is written next; its memory is used again
    std::string stamp_;
    LogFileStatistics statistics_;
};

}  // namespace NS_LOG_SERVICE1
