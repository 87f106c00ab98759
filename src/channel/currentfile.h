// The file that a category writes at present, and how the next one takes its place.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <system_error>

#include "base/published.h"
#include "base/relaxedatomic.h"
#include "base/renew.h"
#include "channel/filelines.h"
#include "channel/filepolicy.h"
#include "channel/filestream.h"
#include "channel/logfilestatistics.h"
#include "channel/writepause.h"
#include "channel/writtenfiles.h"

namespace NS_LOG_SERVICE1 {

// A path, and the file that was opened under it.
struct OpenedFile {
    std::string path;  // empty: no file is open
    FileIdentity identity;
};

// The policy decides what becomes of a name that is taken, and of a file that fails:
//
// kContract: the file is left first, and then the next one begins and empties what has its name.
//
// kKeepRecords: the next file is opened first and gets its first line. Only then is the current
// file closed: it is not given up for a file that cannot be opened. A file that has the next name
// is continued after its last whole record. After a failed write nothing is tried for a while. Then
// the same file is tried again if there was no room, and the next file after any other error.
//
// Thread safety: none, unless an operation says otherwise; the channel's file mutex guards it.
class CurrentFile {
  public:
    // Opens no file. Removes one separator at the end of `directory`. `statistics` lives longer.
    CurrentFile(const char* directory, const char* prefix, LogFileStatistics& statistics);

    CurrentFile(const CurrentFile&) = delete;
    CurrentFile& operator=(const CurrentFile&) = delete;

    void SetPolicy(FilePolicy policy) { policy_ = policy; }
    bool KeepsRecords() const { return policy_ == FilePolicy::kKeepRecords; }

    // Returns whether a piece may be written now. Opens a file if none is open.
    bool IsReady() { return IsSound() || MakeReady(); }

    // Whether a file is open and its last write has not failed.
    bool IsSound() const { return IsOpen() && !failing_; }

    // Begins the next file in the place of the current one, if any. Returns whether it has begun:
    // not when it cannot be had, and with kKeepRecords not while the current file has its name.
    // What fails is counted.
    bool BeginNext();

    // The same on an operator's order: keeps all records, whatever the policy, and tries at once.
    void Rotate();

    // Makes the file anew under its name when it was moved or removed, and goes on there. Does
    // nothing when it still stands, or none is open. Ends a pause.
    void Reopen();

    // Writes the closing line, twice if the first try fails, and closes.
    void Close();

    // Writes all of `piece`, or counts the failure. In that case call KeepOnly next.
    WriteResult Write(std::string_view piece) {
        if (failing_) {
            return WriteAgain(piece);
        }
        const WriteResult result = stream_.Write(piece);
        if (result.error != 0) {
            NoteFailure(result.Error(), path_);
        } else {
            CountWritten(result.written);
        }
        return result;
    }

    // For a process that dies. As long as the object lives, a failure is counted without allocating
    // and without locks, and so without the name of the file.
    class Dying {
      public:
        explicit Dying(CurrentFile& file) : file_(file) { file_.dying_ = true; }
        ~Dying() { file_.dying_ = false; }

        Dying(const Dying&) = delete;
        Dying& operator=(const Dying&) = delete;

      private:
        CurrentFile& file_;
    };

    // Keeps the first `whole` bytes of what a failed write has written, and cuts off the rest.
    void KeepOnly(size_t whole, const WriteResult& failed);

    // Writes `piece` whole or not at all.
    std::error_code WriteWhole(std::string_view piece);

    // Whether a write of `bytes` bytes that failed with `error` would succeed in a new file: the
    // current file has reached the size limit of the process, and the piece alone is below it.
    // Always false with kContract.
    bool IsFullFor(size_t bytes, const std::error_code& error) const;

    // Counts a failure for lack of memory.
    void NoteNoMemory() noexcept {
        Count(std::make_error_code(std::errc::not_enough_memory), path_);
    }

    // In a child process: forgets the file, which is the parent's, and does not touch it. What
    // readers use is made anew: one of the parent's threads may have been reading.
    void AfterForkInChild() {
        stream_.Close();
        path_.clear();
        size_ = 0;
        countsBefore_ = {};
        left_ = {};
        failing_ = false;
        suspect_ = false;
        torn_ = 0;
        pause_.End();
        triedSecond_ = 0;
        hasFile_ = false;
        Renew(opened_);
    }

    // Changes the directory and the prefix; see LogFile::ChangePath.
    void MoveTo(const std::string& directory, const std::string& prefix);

    bool IsOpen() const { return stream_.IsOpen(); }
    // The bytes of the current file.
    uint64_t Size() const { return size_; }
    // Empty while no file is open.
    const std::string& Path() const { return path_; }
    const std::string& Directory() const { return directory_; }
    const std::string& Prefix() const { return prefix_; }

    // For any thread. A rotation is not seen before the next file has begun.
    bool HasFile() const { return hasFile_; }
    OpenedFile Opened() const { return opened_.Get(); }

  private:
    bool MakeReady();
    WriteResult WriteAgain(std::string_view piece);
    bool BeginEmptied();
    bool IsStillNamedSo() const noexcept;
    bool ContinueIn(const std::string& name);
    std::error_code BeginText(FileStream& next, const std::string& path);
    bool IsCurrent(const std::string& path) const;
    void Adopt(FileStream& next, OpenedFile opened, const RecordCounts& records);
    void End();
    void EndText();
    void CloseEnded();
    void CloseCounted(FileStream& stream, const std::string& path);
    void Leave(const FileIdentity& file);
    void Unpublish();
    void BeginCounting(const RecordCounts& records);
    void CountEmptied(uint64_t size, const RecordCounts& lost);
    std::error_code TakeBackTorn();
    bool TakeContentsOf(const std::string& path);

    RecordCounts RecordsInFile() const {
        return {statistics_.recordsWritten.Get() - countsBefore_.written,
                statistics_.recordsDumped.Get() - countsBefore_.dumped};
    }
    std::string PathOf(const std::string& name) const { return directory_ + "/" + name; }
    std::string NameOfCurrent() const { return path_.substr(directory_.size() + 1); }
    void CountWritten(size_t bytes) {
        size_ += bytes;
        statistics_.bytesWritten.Add(bytes);
    }
    void Count(const std::error_code& error, const std::string& path);
    void NoteFailure(const std::error_code& error, const std::string& path);
    void NoteSuccess();

    FilePolicy policy_ = FilePolicy::kContract;
    std::string directory_;
    std::string prefix_;
    LogFileStatistics& statistics_;

    FileStream stream_;
    std::string path_;
    uint64_t size_ = 0;
    // What the counters showed when the file had no record of this channel.
    RecordCounts countsBefore_;
    WrittenFiles left_;

    bool failing_ = false;  // the last attempt to open or to write a file failed
    bool dying_ = false;
    bool suspect_ = false;         // the file failed, but not because there is no room
    size_t torn_ = 0;              // bytes at the end of the file that could not be taken back
    WritePause pause_;             // before the next attempt to write, or to open the first file
    std::time_t triedSecond_ = 0;  // of the last attempt to begin the next file

    FileLines lines_;
    RelaxedAtomic<bool> hasFile_{false};
    Published<OpenedFile> opened_;
};

}  // namespace NS_LOG_SERVICE1
