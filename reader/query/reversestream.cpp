#include "query/reversestream.h"

#include <algorithm>
#include <limits>
#include <string>

#include "format/recordparser.h"
#include "input/boundary.h"
#include "input/piecescanner.h"

namespace NS_LOG_READER {
namespace {

// What is held in memory of all series together, and of one of them.
constexpr uint64_t kAllSegments = uint64_t{64} << 20;
constexpr uint64_t kLargestSegment = uint64_t{1} << 20;
constexpr uint64_t kSmallestSegment = uint64_t{64} << 10;

}  // namespace

ReverseStream::ReverseStream(const Series& series, size_t index, const Matcher& matcher,
                             StreamOptions options, ProblemListener& problems)
    : series_(series),
      index_(index),
      matcher_(matcher),
      options_(options),
      problems_(problems),
      segment_(std::clamp(kAllSegments / options.among, kSmallestSegment, kLargestSegment)),
      file_(series.files.size()) {}

// When the last record was written is not known before the file is read.
Time ReverseStream::FirstTime() const {
    return std::numeric_limits<Time>::max();
}

bool ReverseStream::OpenPreviousFile() {
    source_.reset();
    const Selection& wanted = matcher_.Wanted();
    while (file_ > 0 && !source_) {
        --file_;
        const bool isTooNew = wanted.until && wanted.trustsOrder &&
                              series_.files[file_].created > *wanted.until + kDisorder;
        const bool isTooOld = wanted.since && wanted.trustsOrder &&
                              file_ + 1 < series_.files.size() &&
                              series_.files[file_ + 1].created < *wanted.since - kDisorder;
        if (isTooNew || isTooOld) {
            continue;
        }
        try {
            std::string unread;
            source_ = OpenSeekable(series_.files[file_].name.path, unread);
            if (!unread.empty()) {
                problems_.ReportUnread(unread, source_->Size());
            }
            const FileRange all{0, source_->Size()};
            const FileRange range =
                wanted.trustsOrder ? FindRange(*source_, wanted.since, wanted.until) : all;
            begin_ = range.begin;
            end_ = range.end;
        } catch (const ReadError& error) {
            problems_.Report(series_.files[file_].name.path, -1, error.what());
            source_.reset();
        }
    }
    return source_ != nullptr;
}

void ReverseStream::Keep(Found& found) {
    found.isHit = matcher_.Matches(found.record);
    found.series = index_;
    found.ordinal = ordinal_++;
    if (found.isHit || options_.withContext) {
        kept_.emplace_back(found);
    }
}

void ReverseStream::KeepPiece(const Piece& piece, Found& found) {
    const std::string problem = DescribeProblem(piece);
    if (!problem.empty()) {
        problems_.Report(series_.files[file_].name.path, static_cast<int64_t>(piece.offset),
                         problem);
    }
    found.record.origin = &series_.files[file_].name;
    if (!ParseRecord(piece, found.record)) {
        return;
    }
    const Record record = found.record;
    found.order = record.time;
    Keep(found);
    if (record.kind == RecordKind::Dump) {
        DumpedRecords dumped(piece, record);
        while (dumped.Next(found.record)) {
            Keep(found);
        }
    }
}

// Reads the segment that ends at `end_`.
void ReverseStream::ReadSegment() {
    uint64_t begin = begin_;
    for (uint64_t size = segment_; size < end_ - begin_; size *= 2) {
        const std::optional<Boundary> found = FindBoundary(*source_, end_ - size, end_);
        if (found) {
            begin = found->offset;
            break;
        }
    }
    PieceScanner scanner(*source_, begin);
    scanner.LookFor(options_.withContext ? nullptr : matcher_.Literal(), true);
    Piece piece;
    Found found;
    const uint64_t firstOrdinal = ordinal_;
    while (scanner.Offset() < end_ && scanner.Next(piece)) {
        if (piece.mayMatch || piece.kind == PieceKind::Torn) {
            KeepPiece(piece, found);
        }
    }
    if (!scanner.Error().empty()) {
        problems_.ReportUnread(scanner.Error(), scanner.Offset());
    }
    // Counted forwards, but shown backwards.
    const uint64_t count = ordinal_ - firstOrdinal;
    for (KeptRecord& kept : kept_) {
        uint64_t& ordinal = kept.Get().ordinal;
        ordinal = firstOrdinal + (count - 1 - (ordinal - firstOrdinal));
    }
    end_ = begin;
}

bool ReverseStream::Next(Found& found) {
    if (hasGivenLast_) {
        kept_.pop_back();
        hasGivenLast_ = false;
    }
    while (kept_.empty()) {
        if (source_ && end_ > begin_) {
            try {
                ReadSegment();
            } catch (const ReadError& error) {
                problems_.Report(series_.files[file_].name.path, -1, error.what());
                end_ = begin_;
            }
        } else if (!OpenPreviousFile()) {
            return false;
        }
    }
    found = kept_.back().Get();
    hasGivenLast_ = true;
    return true;
}

}  // namespace NS_LOG_READER
