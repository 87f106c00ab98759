#include "ship/shippedfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "input/bytesource.h"
#include "input/filewriter.h"
#include "input/piecescanner.h"
#include "input/series.h"
#include "ship/pieceend.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::ByteSource;
using NS_LOG_READER::Piece;
using NS_LOG_READER::PieceKind;
using NS_LOG_READER::PieceScanner;
using NS_LOG_READER::ReadError;

constexpr std::chrono::seconds kWriterCheckInterval{1};

// All of a piece that has no end yet is read for each search. Nine tenths of the time are left for
// others.
constexpr std::chrono::seconds kShortestSearchPause{1};
constexpr int kSearchPauseFactor = 9;

// Opening a pipe would wait for who writes it.
int OpenForReading(const std::string& path) {
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

size_t ReadAt(int descriptor, uint64_t offset, char* bytes, size_t size, const std::string& path) {
    ssize_t result = 0;
    do {
        result = ::pread(descriptor, bytes, size, static_cast<off_t>(offset));
    } while (result < 0 && errno == EINTR);
    if (result < 0) {
        throw ReadError(path + ": " + std::strerror(errno));
    }
    return static_cast<size_t>(result);
}

// The file up to the size that it had when it was looked at: what is written meanwhile belongs to
// the next look.
class FixedPart final : public ByteSource {
  public:
    FixedPart(int descriptor, uint64_t end, const std::string& path)
        : descriptor_(descriptor), end_(end), path_(path) {}

    size_t Read(char* bytes, size_t size) override {
        const size_t wanted =
            static_cast<size_t>(std::min<uint64_t>(size, end_ > offset_ ? end_ - offset_ : 0));
        const size_t read = wanted == 0 ? 0 : ReadAt(descriptor_, offset_, bytes, wanted, path_);
        offset_ += read;
        return read;
    }
    void Seek(uint64_t offset) override { offset_ = offset; }
    uint64_t Size() const override { return end_; }
    bool IsPlain() const override { return true; }

  private:
    const int descriptor_;
    const uint64_t end_;
    const std::string& path_;
    uint64_t offset_ = 0;
};

}  // namespace

ShippedFile::ShippedFile(std::string path)
    : path_(std::move(path)),
      name_(path_.substr(path_.rfind('/') + 1)),
      descriptor_(OpenForReading(path_)),
      grown_(Clock::now()) {
    if (!descriptor_.IsOpen() || ::fstat(descriptor_.Get(), &status_) != 0) {
        throw ReadError(path_ + ": " + std::strerror(errno));
    }
    if (!S_ISREG(status_.st_mode)) {
        throw ReadError(path_ + ": it is no regular file");
    }
    const auto parts = NS_LOG_READER::ParseLogFileName(path_);
    category_ = parts ? parts->category : "";
    process_ = parts ? parts->process : 0;
}

void ShippedFile::OpenAgain() {
    NS_LOG_READER::FileDescriptor descriptor(OpenForReading(path_));
    struct stat status {};
    if (descriptor.IsOpen() && ::fstat(descriptor.Get(), &status) == 0 && IsFile(status)) {
        descriptor_ = std::move(descriptor);
    }
}

void ShippedFile::SetOffset(uint64_t offset) {
    offset_ = offset;
    isDry_ = false;
    nextSearch_ = Clock::time_point();
}

bool ShippedFile::IsFile(const struct stat& status) const {
    return status.st_dev == status_.st_dev && status.st_ino == status_.st_ino;
}

void ShippedFile::ReadFirstLine() {
    char bytes[kLongestFirst];
    const std::string_view text(bytes, ReadAt(descriptor_.Get(), 0, bytes, sizeof bytes, path_));
    if (text.find('\n') != std::string_view::npos || text.size() == kLongestFirst ||
        (isSettled_ && HasEnded(Clock::now()))) {
        first_ = FirstLine(text);
    }
}

bool ShippedFile::BeginsAsBefore() const {
    char bytes[kLongestFirst];
    const size_t size = ReadAt(descriptor_.Get(), 0, bytes, first_.size(), path_);
    return std::string_view(bytes, size) == first_;
}

bool ShippedFile::Look(Clock::time_point now) {
    struct stat status {};
    if (::fstat(descriptor_.Get(), &status) != 0) {
        throw ReadError(path_ + ": " + std::strerror(errno));
    }
    const auto size = static_cast<uint64_t>(status.st_size);
    const bool hasChanged = size != size_ || status.st_mtim.tv_sec != status_.st_mtim.tv_sec ||
                            status.st_mtim.tv_nsec != status_.st_mtim.tv_nsec;
    const bool isEmptied = !first_.empty() && hasChanged && (size < offset_ || !BeginsAsBefore());
    if (isEmptied) {
        lost_ = Backlog();
    }
    status_ = status;
    if (hasChanged) {
        size_ = size;
        grown_ = now;
        isDry_ = false;
        hasEnded_ = false;
        checked_.reset();
    }
    isSettled_ = now - grown_ >= kSettleTime;
    if (isEmptied) {
        return false;
    }
    if (first_.empty() && size_ > 0) {
        ReadFirstLine();
    }
    return true;
}

void ShippedFile::Restart() {
    first_.clear();
    SetOffset(0);
    isClosed_ = false;
    isSettled_ = false;
    grown_ = Clock::now();
}

bool ShippedFile::HasEnded(Clock::time_point now) {
    if (!hasEnded_ && (!checked_ || now - *checked_ >= kWriterCheckInterval)) {
        checked_ = now;
        hasEnded_ = NS_LOG_READER::HasWriterEnded(descriptor_.Get(), process_,
                                                  int64_t{status_.st_mtim.tv_sec} * 1000000);
    }
    return hasEnded_;
}

bool ShippedFile::IsOver(Clock::time_point now) {
    return IsRead() && HasEnded(now);
}

bool ShippedFile::TakePieces(size_t limit, bool isFinal, FilePart& part) {
    // Each piece that is begun has room for the largest that is taken.
    const uint64_t end = isFinal ? size_ : std::min(size_, offset_ + limit + kLargestPiece);
    FixedPart source(descriptor_.Get(), end, path_);
    PieceScanner scanner(source, offset_);
    if (!isFinal) {
        scanner.ExpectGrowth();
    }
    Piece piece;
    bool closes = isClosed_;
    while (part.bytes.size() < limit && scanner.Next(piece)) {
        const bool isAtEnd = piece.offset + piece.bytes.size() >= size_;
        if ((!isSettled_ && isAtEnd) || piece.bytes.size() > kLargestPiece) {
            break;
        }
        part.Add(piece);
        closes = piece.kind == PieceKind::Closed;
    }
    if (!scanner.Error().empty()) {
        throw ReadError(scanner.Error());
    }
    // Bytes that were read from a file that was emptied meanwhile belong to nobody.
    if (part.slices.empty() || !BeginsAsBefore()) {
        return false;
    }
    isClosed_ = closes;
    offset_ = part.End();
    return true;
}

bool ShippedFile::ReadPart(size_t limit, FilePart& part) {
    part = FilePart();
    if (first_.empty() || Backlog() == 0 || Clock::now() < nextSearch_) {
        return false;
    }
    if (!isDry_ && TakePieces(limit, false, part)) {
        return true;
    }
    part = FilePart();
    // What has no end will get none when its writer has ended.
    const bool hasEnded = isSettled_ && HasEnded(Clock::now());
    if (Backlog() <= kLargestPiece) {
        isDry_ = isSettled_;
        return hasEnded && TakePieces(limit, true, part);
    }
    if ((!isDry_ || hasEnded) && BeginsAsBefore()) {
        LeavePieceOut(hasEnded);
    }
    return false;
}

// The next piece is too large. Its end may not be there yet.
void ShippedFile::LeavePieceOut(bool hasEnded) {
    const Clock::time_point begun = Clock::now();
    FixedPart source(descriptor_.Get(), size_, path_);
    const std::optional<uint64_t> end = FindPieceEnd(source, offset_, isSettled_, hasEnded);
    isDry_ = isSettled_ && !end;
    if (end) {
        leftOut_ = LeftOut{offset_, *end - offset_};
        offset_ = *end;
        return;
    }
    const Clock::time_point now = Clock::now();
    nextSearch_ =
        now + std::max<Clock::duration>(kShortestSearchPause, kSearchPauseFactor * (now - begun));
}

}  // namespace NS_LOG_FLEET
