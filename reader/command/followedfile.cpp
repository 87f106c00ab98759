#include "command/followedfile.h"

#include <algorithm>
#include <ctime>
#include <limits>
#include <utility>

#include "format/recordparser.h"
#include "input/boundary.h"
#include "input/piecescanner.h"
#include "query/seriesstream.h"

namespace NS_LOG_READER {
namespace {

constexpr size_t kBeginningSize = 64;

// How far from the end a place to begin is looked for.
constexpr uint64_t kTail = uint64_t{1} << 20;

// How long after its end a file cannot be emptied and written again under its name.
constexpr time_t kLong = 60;

}  // namespace

// What is there of a file from one place to another.
class FollowedFile::NewRecords final : public RecordStream {
  public:
    NewRecords(FollowedFile& file, bool mayGrow, const Matcher& matcher, ProblemListener& problems)
        : file_(file),
          matcher_(matcher),
          problems_(problems),
          end_(static_cast<uint64_t>(file.status_.st_size)),
          scanner_(*file.file_, file.offset_) {
        if (mayGrow) {
            scanner_.ExpectGrowth();
        }
    }

    bool Next(Found& found) override {
        found.record.origin = &file_.name_;
        while (NextRecord(found.record)) {
            found.series = file_.series_;
            found.ordinal = file_.ordinal_++;
            found.order = time_;
            if (matcher_.Matches(found.record)) {
                return true;
            }
        }
        return false;
    }

    Time FirstTime() const override { return std::numeric_limits<Time>::min(); }

  private:
    bool NextRecord(Record& record) {
        if (dumped_ && dumped_->Next(record)) {
            return true;
        }
        dumped_.reset();
        do {
            if (!NextPiece()) {
                return false;
            }
        } while (!ParseRecord(piece_, record));
        time_ = record.time;
        dumped_.emplace(piece_, record);
        return true;
    }

    // What is written meanwhile waits for the next look, so that others have their turn.
    bool NextPiece() {
        const bool isThere = scanner_.Offset() < end_ && scanner_.Next(piece_);
        file_.offset_ = scanner_.Offset();
        if (!isThere) {
            file_.NoteReadError(scanner_.Error(), problems_);
            return false;
        }
        file_.isClosed_ = piece_.kind == PieceKind::Closed;
        const std::string problem = DescribeProblem(piece_);
        if (!problem.empty()) {
            problems_.Report(file_.name_.path, static_cast<int64_t>(piece_.offset), problem);
        }
        return true;
    }

    FollowedFile& file_;
    const Matcher& matcher_;
    ProblemListener& problems_;
    const uint64_t end_;
    PieceScanner scanner_;
    Piece piece_;
    Time time_ = 0;  // of the piece's first record
    std::optional<DumpedRecords> dumped_;
};

FollowedFile::FollowedFile(LogFileName name, size_t series)
    : name_(std::move(name)), series_(series), file_(name_.path), status_(file_->Status()) {
    beginning_ = ReadBeginning();
}

bool FollowedFile::HasChanged(const struct stat& status) const {
    return status.st_size != status_.st_size || status.st_ctim.tv_sec != status_.st_ctim.tv_sec ||
           status.st_ctim.tv_nsec != status_.st_ctim.tv_nsec;
}

bool FollowedFile::Resume() {
    PlainFile file(name_.path);
    if (IdOf(file.Status()) != Id()) {
        return false;
    }
    file_.emplace(std::move(file));
    return true;
}

bool FollowedFile::IsQuiet() const {
    try {
        return file_->Status().st_mtim.tv_sec + kLong < ::time(nullptr);
    } catch (const ReadError&) {
        return false;
    }
}

bool FollowedFile::IsRemoved() const {
    try {
        return file_->Status().st_nlink == 0;
    } catch (const ReadError&) {
        return false;
    }
}

std::string FollowedFile::ReadBeginning() {
    file_->Seek(0);
    char bytes[kBeginningSize];
    return std::string(bytes, file_->Read(bytes, sizeof bytes));
}

bool FollowedFile::HasBegunAgain() {
    const bool isShorter = static_cast<uint64_t>(status_.st_size) < offset_;
    const std::string now = ReadBeginning();
    const bool isOther = isShorter || now.compare(0, beginning_.size(), beginning_) != 0;
    beginning_ = now;
    return isOther;
}

void FollowedFile::SkipTo(uint64_t size, bool mayGrow) {
    size = std::min(size, file_->Size());
    const uint64_t from = size > kTail ? size - kTail : 0;
    const std::optional<Boundary> place =
        from > 0 ? FindBoundary(*file_, from, size) : std::nullopt;
    PieceScanner scanner(*file_, place ? place->offset : 0);
    if (mayGrow) {
        scanner.ExpectGrowth();
    }
    Piece piece;
    while (scanner.Offset() < size && scanner.Next(piece)) {
        isClosed_ = piece.kind == PieceKind::Closed;
    }
    offset_ = scanner.Offset();
}

std::unique_ptr<RecordStream> FollowedFile::ReadNew(bool mayGrow, const Matcher& matcher,
                                                    ProblemListener& problems) {
    status_ = file_->Status();
    // Also of a file that has its old size: what it holds may be new.
    if (HasBegunAgain()) {
        problems.Report(name_.path, static_cast<int64_t>(offset_),
                        "the file was emptied and begins again");
        // Behind the report, whose place is one in the old contents.
        problems.NoteEmptied(name_.path);
        offset_ = 0;
        isClosed_ = false;
    }
    if (static_cast<uint64_t>(status_.st_size) == offset_) {
        return nullptr;
    }
    isClosed_ = false;
    return std::make_unique<NewRecords>(*this, mayGrow, matcher, problems);
}

// It is read again with each change: said once as long as it lasts.
void FollowedFile::NoteReadError(const std::string& error, ProblemListener& problems) {
    if (!error.empty() && error != readError_) {
        problems.ReportUnread(error, offset_);
    }
    readError_ = error;
}

}  // namespace NS_LOG_READER
