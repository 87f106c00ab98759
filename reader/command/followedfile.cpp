#include "command/followedfile.h"

#include <algorithm>
#include <utility>

#include "format/recordparser.h"
#include "input/boundary.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {
namespace {

constexpr size_t kBeginningSize = 64;

// How far from the end a place to begin is looked for.
constexpr uint64_t kTail = uint64_t{1} << 20;

// How long after its end a file cannot be emptied and written again under its name.
constexpr time_t kLong = 60;

}  // namespace

FollowedFile::FollowedFile(LogFileName name, size_t series)
    : name_(std::move(name)), series_(series), file_(name_.path) {
    if (::stat(name_.path.c_str(), &status_) != 0) {
        throw ReadError(name_.path + " has gone");
    }
    StartAt(0, true);
    beginning_ = ReadBeginning();
}

bool FollowedFile::IsFile(const struct stat& status) const {
    return status.st_dev == status_.st_dev && status.st_ino == status_.st_ino;
}

bool FollowedFile::IsQuiet() const {
    return !file_.WasWrittenWithin(kLong);
}

void FollowedFile::StartAt(uint64_t offset, bool mayGrow) {
    scanner_.emplace(file_, offset);
    if (mayGrow) {
        scanner_->ExpectGrowth();
    }
    isClosed_ = false;
}

std::string FollowedFile::ReadBeginning() {
    PlainFile file(name_.path);
    char bytes[kBeginningSize];
    return std::string(bytes, file.Read(bytes, sizeof bytes));
}

bool FollowedFile::HasBegunAgain() {
    const bool isShorter = file_.Size() < scanner_->Offset();
    file_.Seek(0);
    char bytes[kBeginningSize];
    const std::string now(bytes, file_.Read(bytes, sizeof bytes));
    const bool isOther = isShorter || now.compare(0, beginning_.size(), beginning_) != 0;
    beginning_ = now;
    return isOther;
}

void FollowedFile::SkipTo(uint64_t size, bool mayGrow) {
    size = std::min(size, file_.Size());
    const uint64_t from = size > kTail ? size - kTail : 0;
    const std::optional<Boundary> place = from > 0 ? FindBoundary(file_, from, size) : std::nullopt;
    StartAt(place ? place->offset : 0, mayGrow);
    Piece piece;
    while (scanner_->Offset() < size && scanner_->Next(piece)) {
        isClosed_ = piece.kind == PieceKind::Closed;
    }
}

void FollowedFile::ReadNew(bool mayGrow, const Matcher& matcher, ProblemListener& problems,
                           const std::function<void(const Found&)>& take) {
    const uint64_t offset = scanner_->Offset();
    if (file_.Size() == offset) {
        return;
    }
    if (HasBegunAgain()) {
        problems.NoteEmptied(name_.path);
        problems.Report(name_.path, static_cast<int64_t>(offset),
                        "the file was emptied and begins again");
        StartAt(0, mayGrow);
    } else {
        // The scanner's own place was lost by the look at the beginning.
        StartAt(offset, mayGrow);
    }
    Piece piece;
    while (scanner_->Next(piece)) {
        isClosed_ = piece.kind == PieceKind::Closed;
        const std::string problem = DescribeProblem(piece);
        if (!problem.empty()) {
            problems.Report(name_.path, static_cast<int64_t>(piece.offset), problem);
        }
        Take(piece, matcher, take);
    }
    NoteReadError(problems);
}

// It is read again with each change: said once as long as it lasts.
void FollowedFile::NoteReadError(ProblemListener& problems) {
    if (!scanner_->Error().empty() && scanner_->Error() != readError_) {
        problems.ReportUnread(scanner_->Error(), scanner_->Offset());
    }
    readError_ = scanner_->Error();
}

void FollowedFile::Take(const Piece& piece, const Matcher& matcher,
                        const std::function<void(const Found&)>& take) {
    Found found;
    found.record.origin = &name_;
    found.series = series_;
    if (!ParseRecord(piece, found.record)) {
        return;
    }
    const Record record = found.record;
    found.order = record.time;
    found.ordinal = ordinal_++;
    if (matcher.Matches(found.record)) {
        take(found);
    }
    DumpedRecords dumped(piece, record);
    while (dumped.Next(found.record)) {
        found.ordinal = ordinal_++;
        if (matcher.Matches(found.record)) {
            take(found);
        }
    }
}

}  // namespace NS_LOG_READER
