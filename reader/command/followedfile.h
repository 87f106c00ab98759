// A log file that may still be written.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "input/piecescanner.h"
#include "input/plainfile.h"
#include "query/recordstream.h"
#include "query/selection.h"

namespace NS_LOG_READER {

// Thread safety: none.
class FollowedFile {
  public:
    // Throws ReadError.
    FollowedFile(LogFileName name, size_t series);

    FollowedFile(const FollowedFile&) = delete;
    FollowedFile& operator=(const FollowedFile&) = delete;

    // Passes over what begins in its first `size` bytes. `mayGrow`: not over what has no end yet.
    void SkipTo(uint64_t size, bool mayGrow);

    // Hands out the records that have been written since. A file that was emptied meanwhile, as it
    // happens when it is full within its second, begins again. `mayGrow`: what has no end yet is
    // waited for; else it is torn.
    void ReadNew(bool mayGrow, const Matcher& matcher, ProblemListener& problems,
                 const std::function<void(const Found&)>& take);

    const LogFileName& Name() const { return name_; }
    // How far it was read.
    uint64_t Offset() const { return scanner_->Offset(); }
    // Its last line says that it is done.
    bool IsClosed() const { return isClosed_; }
    // It was written so long ago that its name's second is surely over.
    bool IsQuiet() const;
    // It has no name any more.
    bool IsRemoved() const { return !file_.HasName(); }
    ino_t Inode() const { return status_.st_ino; }
    bool IsFile(const struct stat& status) const;

  private:
    void StartAt(uint64_t offset, bool mayGrow);
    std::string ReadBeginning();
    bool HasBegunAgain();
    void NoteReadError(ProblemListener& problems);
    void Take(const Piece& piece, const Matcher& matcher,
              const std::function<void(const Found&)>& take);

    LogFileName name_;
    const size_t series_;
    PlainFile file_;
    std::string beginning_;  // enough of it to tell another file of that name
    struct stat status_ {};
    std::optional<PieceScanner> scanner_;
    std::string readError_;  // of the last look; empty: none
    uint64_t ordinal_ = 0;
    bool isClosed_ = false;
};

}  // namespace NS_LOG_READER
