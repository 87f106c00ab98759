// A log file of which the records are sent.
#pragma once

#include <sys/stat.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "input/filedescriptor.h"
#include "store/filepart.h"

namespace NS_LOG_FLEET {

// A piece that is larger than any target takes.
struct LeftOut {
    uint64_t offset = 0;
    uint64_t size = 0;
};

// Keeps the file open, so that a file that is removed can still be read to its end.
//
// Thread safety: none.
class ShippedFile {
  public:
    using Clock = std::chrono::steady_clock;

    // What stands at the end of a file is taken when the file has not grown for this long: a reader
    // may see the beginning of what is being written, and its end may look like the end of a
    // record.
    static constexpr std::chrono::milliseconds kSettleTime{200};

    // Throws ReadError.
    explicit ShippedFile(std::string path);

    const std::string& Path() const { return path_; }
    const std::string& Name() const { return name_; }
    const std::string& Category() const { return category_; }
    int64_t Process() const { return process_; }

    // The beginning of the file, which tells it from another of its name. Empty: not there yet.
    const std::string& First() const { return first_; }

    // Looks at the file: how large it is, and reads its first line when that is not known. Returns
    // false when it has been emptied; after `Restart` the next look is at the file that it is now.
    // Throws ReadError.
    bool Look(Clock::time_point now);
    void Restart();

    // Of the contents that were emptied: what stood behind `Offset` when they were last looked at.
    uint64_t Lost() const { return lost_; }

    // Where the next part begins.
    uint64_t Offset() const { return offset_; }
    void SetOffset(uint64_t offset);

    uint64_t Size() const { return size_; }
    uint64_t Backlog() const { return size_ > offset_ ? size_ - offset_ : 0; }

    // Takes the next pieces, some `limit` bytes of them, or one piece that is larger. False: there
    // is none that is complete, or the file was emptied meanwhile, or the next one is larger than
    // kLargestPiece: it is left out, without the memory that it would take. Throws ReadError.
    bool ReadPart(size_t limit, FilePart& part);

    // What ReadPart has just left out.
    std::optional<LeftOut> TakeLeftOut() { return std::exchange(leftOut_, std::nullopt); }

    // Opens the file anew if its name still leads to it.
    void OpenAgain();

    // What was read last was the line that closes the file.
    bool IsClosed() const { return isClosed_; }

    // Nothing is left of it but what has no end yet.
    bool IsWaitingForEnd() const { return isSettled_ && isDry_ && Backlog() > 0; }

    // Everything that is there was read.
    bool IsRead() const { return isSettled_ && Backlog() == 0; }

    // Whether it is the file that the status is of.
    bool IsFile(const struct stat& status) const;

    // As of the last look.
    const struct stat& Status() const { return status_; }

    // It is known that all of it has been read, and that no process writes it.
    bool IsOver(Clock::time_point now);

  private:
    void ReadFirstLine();
    bool BeginsAsBefore() const;
    bool HasEnded(Clock::time_point now);
    bool TakePieces(size_t limit, bool isFinal, FilePart& part);
    void LeavePieceOut(bool hasEnded);

    std::string path_;
    std::string name_;
    std::string category_;
    int64_t process_ = 0;
    NS_LOG_READER::FileDescriptor descriptor_;
    struct stat status_ {};
    std::string first_;
    uint64_t offset_ = 0;
    uint64_t size_ = 0;
    uint64_t lost_ = 0;
    std::optional<LeftOut> leftOut_;
    Clock::time_point grown_;                   // when it was seen to have another size
    std::optional<Clock::time_point> checked_;  // when the writer was looked for
    bool hasEnded_ = false;
    bool isSettled_ = false;
    Clock::time_point nextSearch_{};  // for the end of a piece that is too large
    bool isDry_ = false;              // the last attempt to read gave nothing
    bool isClosed_ = false;
};

}  // namespace NS_LOG_FLEET
