// A log file that may still be written.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "input/plainfile.h"
#include "query/recordstream.h"
#include "query/selection.h"

namespace NS_LOG_READER {

// Tells files apart whatever their names are. One that was removed may leave it to another.
using FileId = std::pair<dev_t, ino_t>;

inline FileId IdOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

// It is open, or at rest: then it holds neither a descriptor nor memory for what it reads.
//
// Thread safety: none.
class FollowedFile {
  public:
    // Throws ReadError.
    FollowedFile(LogFileName name, size_t series);

    FollowedFile(const FollowedFile&) = delete;
    FollowedFile& operator=(const FollowedFile&) = delete;

    // Passes over what begins in its first `size` bytes. `mayGrow`: not over what has no end yet.
    void SkipTo(uint64_t size, bool mayGrow);

    // The records that have been written since; null: none. A file that was emptied meanwhile, as
    // it happens when it is full within its second, begins again. `mayGrow`: what has no end yet is
    // waited for; else it is torn. All arguments outlive the stream, and so does the open file.
    // Throws ReadError.
    std::unique_ptr<RecordStream> ReadNew(bool mayGrow, const Matcher& matcher,
                                          ProblemListener& problems);

    void Rest() { file_.reset(); }
    // Whether it was changed after the last look at it began.
    bool HasChanged(const struct stat& status) const;
    // Opens it again. False: its name leads to another file. Throws ReadError.
    bool Resume();

    const LogFileName& Name() const { return name_; }
    // How far it was written, of an open file. Throws ReadError.
    uint64_t Size() const { return file_->Size(); }
    // How far it was read.
    uint64_t Offset() const { return offset_; }
    // Its last line says that it is done.
    bool IsClosed() const { return isClosed_; }
    FileId Id() const { return IdOf(status_); }

    // Of an open file, and no when it cannot be told:
    // It was written so long ago that its name's second is surely over.
    bool IsQuiet() const;
    // It has no name any more.
    bool IsRemoved() const;

  private:
    class NewRecords;

    std::string ReadBeginning();
    bool HasBegunAgain();
    void NoteReadError(const std::string& error, ProblemListener& problems);

    LogFileName name_;
    const size_t series_;
    std::optional<PlainFile> file_;  // none: at rest
    struct stat status_ {};          // before the last look
    std::string beginning_;          // enough of it to tell another file of that name
    uint64_t offset_ = 0;
    std::string readError_;  // of the last look; empty: none
    uint64_t ordinal_ = 0;
    bool isClosed_ = false;
};

}  // namespace NS_LOG_READER
