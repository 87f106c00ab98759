#include "channel/currentfile.h"

#include <sys/resource.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <new>
#include <utility>

#include "channel/logdirectory.h"
#include "channel/logfilename.h"
#include "channel/tornend.h"

namespace NS_LOG_SERVICE1 {
namespace {

std::string WithoutSeparatorAtEnd(std::string directory) {
    if (!directory.empty() && (directory.back() == '/' || directory.back() == '\\')) {
        directory.pop_back();
    }
    return directory;
}

// Whether another file could not take more either.
bool IsNoRoom(const std::error_code& error) {
    return error.value() == EDQUOT || error == std::errc::no_space_on_device ||
           error == std::errc::file_too_large;
}

}  // namespace

CurrentFile::CurrentFile(const char* directory, const char* prefix, LogFileStatistics& statistics)
    : directory_(WithoutSeparatorAtEnd(directory)), prefix_(prefix), statistics_(statistics) {}

bool CurrentFile::MakeReady() {
    if (!KeepsRecords()) {
        return IsOpen() || BeginEmptied();
    }
    if (!pause_.IsOver()) {
        return false;
    }
    if (!IsOpen()) {
        BeginNext();
    } else if (suspect_) {
        // A file without a record is opened again: otherwise each attempt would leave such a file.
        const RecordCounts records = RecordsInFile();
        ContinueIn(records.written + records.dumped == 0 ? NameOfCurrent()
                                                         : NewLogFileName(prefix_));
    }
    return IsOpen();
}

bool CurrentFile::BeginNext() {
    if (!KeepsRecords()) {
        return BeginEmptied();
    }
    // Each second has one name. It is tried once: then it is the current file's, or has failed.
    const std::time_t second = std::time(nullptr);
    if (IsOpen() && second == triedSecond_) {
        return false;
    }
    triedSecond_ = second;
    const std::string name = NewLogFileName(prefix_);
    return !IsCurrent(PathOf(name)) && ContinueIn(name);
}

void CurrentFile::Rotate() {
    pause_.End();
    const std::string name = NewLogFileName(prefix_);
    if (!IsCurrent(PathOf(name))) {
        ContinueIn(name);
    }
}

void CurrentFile::Reopen() {
    pause_.End();
    if (IsOpen() && (suspect_ || !IsCurrent(path_))) {
        ContinueIn(NameOfCurrent());
    }
}

// Two files that begin within one second have the same name: the second one empties the first,
// which is still open then. Closed before, it would be written out first: so ext4 does with a file
// that was emptied once, and the next emptying waits for the disk.
bool CurrentFile::BeginEmptied() {
    FileStream ended;
    const bool replaces = IsOpen();
    if (replaces) {
        EndText();
        if (!failing_ && IsStillNamedSo()) {
            stream_.Swap(ended);
            Leave(ended.Identity());
        } else {
            CloseEnded();
        }
    }
    const std::string name = NewLogFileName(prefix_);
    OpenedFile opened{PathOf(name), {}};
    path_.reserve(opened.path.size());  // Adopt must not fail for lack of memory: the file is there
    FileStream next;
    std::error_code error = CreateInDirectory(next, directory_, name);
    if (ended.IsOpen() && (error == std::errc::too_many_files_open ||
                           error == std::errc::too_many_files_open_in_system)) {
        CloseCounted(ended, opened.path);
        error = CreateInDirectory(next, directory_, name);
    }
    CloseCounted(ended, opened.path);
    if (error) {
        NoteFailure(error, opened.path);
        Unpublish();
        return false;
    }
    statistics_.rotations.Add(replaces ? 1 : 0);
    CountEmptied(next.SizeFound(), left_.Take(next.Identity()));
    Adopt(next, std::move(opened), {});
    WriteWhole(lines_.Created());
    return true;
}

// Whether the next file will have the current one's name, and the current one still has it.
bool CurrentFile::IsStillNamedSo() const noexcept {
    try {
        return IsCurrent(PathOf(NewLogFileName(prefix_)));
    } catch (...) {  // NOLINT: the file is closed first then
        return false;
    }
}

// Creates or continues the file `name` and closes the current one. Stays in the current file when
// `name` is that file or cannot be opened. Returns whether `name` became the current file.
bool CurrentFile::ContinueIn(const std::string& name) {
    OpenedFile opened{PathOf(name), {}};
    path_.reserve(opened.path.size());
    FileStream next;
    std::error_code error = ContinueInDirectory(next, directory_, name);
    if (!error && IsOpen() && next.Identity() == stream_.Identity()) {
        stream_.Swap(next);
        suspect_ = false;
        return false;
    }
    if (!error) {
        error = BeginText(next, opened.path);
    }
    if (error) {
        NoteFailure(error, opened.path);
        if (!IsOpen()) {
            pause_.Begin();
        }
        return false;
    }
    if (IsOpen()) {
        End();
        statistics_.rotations.Add(1);
    }
    const RecordCounts records = left_.Take(next.Identity());
    Adopt(next, std::move(opened), next.IsNew() ? RecordCounts() : records);
    NoteSuccess();
    return true;
}

// Cuts off a torn record at the end of a file that is continued, and writes the creation line. A
// new file that cannot take the line is removed again.
std::error_code CurrentFile::BeginText(FileStream& next, const std::string& path) {
    uint64_t torn = 0;
    std::error_code error;
    if (next.SizeFound() != 0) {
        error = FindTornEnd(next, torn);
    }
    if (!error) {
        error = next.CutBack(torn);
    }
    if (error) {
        return error;
    }
    const WriteResult result = next.Write(lines_.Created());
    if (result.error == 0) {
        statistics_.bytesWritten.Add(result.written);
        return {};
    }
    next.CutBack(result.written);
    if (next.IsNew() && next.IsSameFile(path)) {
        std::remove(path.c_str());
    }
    return result.Error();
}

// Whether `path` is that of the current file, and it still stands there.
bool CurrentFile::IsCurrent(const std::string& path) const {
    return IsOpen() && path == path_ && stream_.IsSameFile(path);
}

// Makes `next` the current file, which holds `records` of this channel already.
void CurrentFile::Adopt(FileStream& next, OpenedFile opened, const RecordCounts& records) {
    opened.identity = next.Identity();
    path_ = opened.path;
    stream_.Swap(next);
    hasFile_ = true;
    BeginCounting(records);
    opened_.Set(std::move(opened));
}

// The file holds `records` of this channel already.
void CurrentFile::BeginCounting(const RecordCounts& records) {
    size_ = stream_.Size();
    countsBefore_ = {statistics_.recordsWritten.Get() - records.written,
                     statistics_.recordsDumped.Get() - records.dumped};
    suspect_ = false;
    torn_ = 0;
}

void CurrentFile::Close() {
    if (IsOpen()) {
        End();
        Unpublish();
    }
}

// Ends the file with its last line.
void CurrentFile::End() {
    EndText();
    CloseEnded();
}

void CurrentFile::EndText() {
    const std::string_view line = lines_.Closed();
    if (WriteWhole(line) && IsOpen()) {
        WriteWhole(line);
    }
}

void CurrentFile::CloseEnded() {
    CloseCounted(stream_, path_);
    Leave(stream_.Identity());
}

void CurrentFile::CloseCounted(FileStream& stream, const std::string& path) {
    if (const std::error_code error = stream.Close()) {
        Count(error, path);
    }
}

// Forgets the file, but for how many records it holds.
void CurrentFile::Leave(const FileIdentity& file) {
    const RecordCounts records = RecordsInFile();
    if (records.written + records.dumped != 0) {
        try {
            left_.Add(file, records);
        } catch (const std::bad_alloc&) {  // NOLINT: should it be emptied, they count as written
        }
    }
    path_.clear();
    size_ = 0;
}

// Tells readers that no file is open.
void CurrentFile::Unpublish() {
    hasFile_ = false;
    opened_.Set({});
}

// A file of that size was emptied.
void CurrentFile::CountEmptied(uint64_t size, const RecordCounts& lost) {
    if (size != 0) {
        statistics_.bytesEmptied.Add(size);
        statistics_.writtenOverwritten.Add(lost.written);
        statistics_.dumpedOverwritten.Add(lost.dumped);
    }
}

// The first write after a failure: there may be something to take back.
WriteResult CurrentFile::WriteAgain(std::string_view piece) {
    WriteResult result{0, TakeBackTorn().value()};
    if (result.error == 0) {
        result = stream_.Write(piece);
    }
    if (result.error != 0) {
        NoteFailure(result.Error(), path_);
    } else {
        CountWritten(result.written);
        NoteSuccess();
    }
    return result;
}

void CurrentFile::KeepOnly(size_t whole, const WriteResult& failed) {
    CountWritten(whole);
    torn_ += failed.written - whole;
    TakeBackTorn();
    if (!KeepsRecords()) {
        torn_ = 0;  // the file is left, torn or not
        return;
    }
    suspect_ = !IsNoRoom(failed.Error());
    pause_.Begin();
    if (!dying_ && failed.error == EBADF) {
        // Somebody has closed it. Its number may be that of another file by now.
        stream_.Abandon();
        Leave(stream_.Identity());
        Unpublish();
    }
}

std::error_code CurrentFile::WriteWhole(std::string_view piece) {
    const WriteResult result = Write(piece);
    if (result.error != 0) {
        KeepOnly(0, result);
        return result.Error();
    }
    return {};
}

// Removes what is left of the last failure: a record written after it would be taken for its rest.
std::error_code CurrentFile::TakeBackTorn() {
    if (torn_ == 0) {
        return {};
    }
    const std::error_code error = stream_.CutBack(torn_);
    torn_ = error ? torn_ : 0;
    return error;
}

bool CurrentFile::IsFullFor(size_t bytes, const std::error_code& error) const {
    struct rlimit largest {};
    return KeepsRecords() && error == std::errc::file_too_large &&
           size_ > FileLines::kFirstLineSize && ::getrlimit(RLIMIT_FSIZE, &largest) == 0 &&
           largest.rlim_cur >= FileLines::kFirstLineSize + bytes;
}

void CurrentFile::Count(const std::error_code& error, const std::string& path) {
    statistics_.failures.Add(1);
    statistics_.lastError.Set(static_cast<uint64_t>(error.value()));
    statistics_.lastErrorSecond.Set(static_cast<uint64_t>(std::time(nullptr)));
    if (dying_) {
        return;
    }
    try {
        statistics_.lastErrorFile.Set(std::string(path));
    } catch (const std::bad_alloc&) {  // NOLINT: the failure counts all the same
    }
}

void CurrentFile::NoteFailure(const std::error_code& error, const std::string& path) {
    Count(error, path);
    failing_ = true;
    statistics_.failing.Set(1);
}

void CurrentFile::NoteSuccess() {
    failing_ = false;
    suspect_ = false;
    pause_.End();
    statistics_.failing.Set(0);
}

}  // namespace NS_LOG_SERVICE1
