#include "query/seriesstream.h"

#include <limits>

#include "input/boundary.h"

namespace NS_LOG_READER {

std::string DescribeProblem(const Piece& piece) {
    const std::string size = std::to_string(piece.bytes.size()) + " bytes";
    if (piece.kind == PieceKind::Torn) {
        return piece.number != 0 ? "record " + std::to_string(piece.number) + " is torn, " + size
                                 : "a torn record, " + size;
    }
    return piece.kind == PieceKind::Garbage ? size + " that belong to no record" : "";
}

SeriesStream::SeriesStream(const Series& series, size_t index, const Matcher& matcher,
                           StreamOptions options, ProblemListener& problems)
    : series_(series), index_(index), matcher_(matcher), options_(options), problems_(problems) {}

Time SeriesStream::FirstTime() const {
    // Queued records may be older than the file that they are written to.
    return series_.files.empty() ? 0 : series_.files.front().created - kDisorder;
}

// Whether all of a file was written before or after the range.
bool SeriesStream::IsOutOfRange(size_t file) const {
    const Selection& wanted = matcher_.Wanted();
    if (!wanted.trustsOrder) {
        return false;
    }
    const bool isTooOld = wanted.since && file + 1 < series_.files.size() &&
                          series_.files[file + 1].created < *wanted.since - kDisorder;
    const bool isTooNew = wanted.until && series_.files[file].created > *wanted.until + kDisorder;
    return isTooOld || isTooNew;
}

bool SeriesStream::OpenNextFile() {
    CloseFile();
    while (file_ < series_.files.size() && IsOutOfRange(file_)) {
        ++file_;
    }
    if (file_ == series_.files.size()) {
        return false;
    }
    const LogFile& file = series_.files[file_++];
    const Selection& wanted = matcher_.Wanted();
    try {
        source_ = OpenFile(file.name.path);
        uint64_t from = 0;
        stopAt_ = std::numeric_limits<uint64_t>::max();
        if (wanted.trustsOrder && source_->IsPlain() && (wanted.since || wanted.until)) {
            const FileRange range = FindRange(*source_, wanted.since, wanted.until);
            from = range.begin;
            // Without an end, also what is written meanwhile is read.
            stopAt_ = wanted.until ? range.end : stopAt_;
        }
        scanner_.emplace(*source_, from);
        noted_ = from;
        scanner_->LookFor(options_.withContext || options_.withMarks ? nullptr : matcher_.Literal(),
                          true);
    } catch (const ReadError& error) {
        problems_.Report(file.name.path, -1, error.what());
        scanner_.reset();
    }
    return true;
}

void SeriesStream::CloseFile() {
    if (scanner_) {
        if (!scanner_->Error().empty()) {
            problems_.ReportUnread(scanner_->Error(), scanner_->Offset());
        }
        scanner_.reset();
        source_.reset();
    }
}

bool SeriesStream::NextPiece() {
    while (!scanner_ || scanner_->Offset() >= stopAt_ || !scanner_->Next(piece_)) {
        if (!OpenNextFile()) {
            return false;
        }
    }
    constexpr uint64_t step = uint64_t{8} << 20;
    if (scanner_->Offset() >= noted_ + step) {
        problems_.NoteRead(scanner_->Offset() - noted_);
        noted_ = scanner_->Offset();
    }
    return true;
}

void SeriesStream::ReportTorn() {
    const std::string text = DescribeProblem(piece_);
    if (!text.empty()) {
        problems_.Report(series_.files[file_ - 1].name.path, static_cast<int64_t>(piece_.offset),
                         text);
    }
}

// Fills in what is known beside the record itself. Whether it is to be shown.
bool SeriesStream::Judge(Found& found) {
    found.isHit = matcher_.Matches(found.record);
    found.series = index_;
    found.ordinal = ordinal_++;
    found.order = lastTime_;
    return found.isHit || options_.withContext;
}

// The next record inside the dump that was found last, if one may match.
bool SeriesStream::NextDumped(Record& record) {
    const LiteralFinder* const literal = options_.withContext ? nullptr : matcher_.Literal();
    if (dumped_ && literal != nullptr && dumpedHit_ < dumped_->Rest().data()) {
        const std::string_view rest = dumped_->Rest();
        dumpedHit_ = literal->Find(rest.data(), rest.data() + rest.size());
        if (dumpedHit_ == nullptr) {
            dumped_.reset();
        }
    }
    if (dumped_ && dumped_->Next(record)) {
        return true;
    }
    dumped_.reset();
    dumpedHit_ = nullptr;
    return false;
}

bool SeriesStream::Next(Found& found) {
    for (;;) {
        while (NextDumped(found.record)) {
            if (Judge(found)) {
                return true;
            }
        }
        if (!NextPiece()) {
            return false;
        }
        if (piece_.kind == PieceKind::Torn || piece_.kind == PieceKind::Garbage) {
            ReportTorn();
        }
        if (!piece_.mayMatch) {
            continue;
        }
        found.record.origin = &series_.files[file_ - 1].name;
        const bool isRecord = ParseRecord(piece_, found.record);
        if (!isRecord) {
            if (!options_.withMarks) {
                continue;
            }
            found.isHit = true;
            found.series = index_;
            found.ordinal = ordinal_++;
            found.order = lastTime_;
            return true;
        }
        lastTime_ = found.record.time;
        if (found.record.kind == RecordKind::Dump) {
            dumped_.emplace(piece_, found.record);
        }
        if (Judge(found)) {
            return true;
        }
    }
}

}  // namespace NS_LOG_READER
