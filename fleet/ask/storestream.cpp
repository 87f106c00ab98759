#include "ask/storestream.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "format/recordparser.h"
#include "input/boundary.h"

namespace NS_LOG_FLEET {

using NS_LOG_READER::Found;
using NS_LOG_READER::LogFileName;
using NS_LOG_READER::Piece;
using NS_LOG_READER::Time;

bool ParsePiece(const Piece& piece, const LogFileName* origin, std::vector<Found>& found) {
    Found next;
    next.record.origin = origin;
    if (!ParseRecord(piece, next.record)) {
        return false;
    }
    next.order = next.record.time;
    found.push_back(next);
    NS_LOG_READER::DumpedRecords dumped(piece, next.record);
    while (dumped.Next(next.record)) {
        found.push_back(next);
    }
    return true;
}

NS_LOG_READER::Series MakePlace(const std::string& host, const std::string& category,
                                int64_t process) {
    NS_LOG_READER::Series place;
    place.directory = host;
    place.host = host;
    place.category = category;
    place.process = process;
    return place;
}

std::string PathOnHost(const LogFileName& name) {
    return name.host + ": " + name.path;
}

StoreStream::StoreStream(Source source, const NS_LOG_READER::Series& series, size_t index,
                         const NS_LOG_READER::Matcher& matcher,
                         NS_LOG_READER::StreamOptions options, bool newestFirst,
                         NS_LOG_READER::ProblemListener& problems)
    : source_(std::move(source)),
      series_(series),
      index_(index),
      matcher_(matcher),
      options_(options),
      newestFirst_(newestFirst),
      problems_(problems) {}

// As streams of files have it, so that several are joined in the same order.
Time StoreStream::FirstTime() const {
    if (newestFirst_) {
        return std::numeric_limits<Time>::max();
    }
    return series_.files.front().created - NS_LOG_READER::kDisorder;
}

bool StoreStream::OpenNextFile() {
    query_.reset();
    if (file_ == source_.files.size()) {
        return false;
    }
    current_ =
        newestFirst_ ? source_.files[source_.files.size() - 1 - file_] : source_.files[file_];
    ++file_;
    PieceRange range;
    range.file = current_->id;
    range.newestFirst = newestFirst_;
    const bool wantsAll = options_.withContext || options_.withMarks;
    query_ = std::make_unique<PieceQuery>(source_.connection, range,
                                          wantsAll ? Conditions() : source_.conditions);
    return true;
}

bool StoreStream::NextPiece() {
    while (!query_ || !query_->Next(piece_)) {
        if (!OpenNextFile()) {
            return false;
        }
    }
    problems_.NoteRead(piece_.bytes.size());
    return true;
}

// Makes records of the piece, in the order in which they are given.
void StoreStream::TakePiece() {
    found_.clear();
    given_ = 0;
    const std::string problem = NS_LOG_READER::DescribeProblem(piece_);
    if (!problem.empty()) {
        problems_.Report(PathOnHost(current_->name), static_cast<int64_t>(piece_.offset), problem);
    }
    const LogFileName* const origin = &current_->name;
    if (ParsePiece(piece_, origin, found_)) {
        lastTime_ = found_.front().order;
    } else if (options_.withMarks) {
        Found mark;
        mark.record.bytes = piece_.bytes;
        mark.record.offset = piece_.offset;
        mark.record.origin = origin;
        mark.record.torn = piece_.kind == NS_LOG_READER::PieceKind::Torn;
        mark.order = lastTime_;
        found_.push_back(mark);
        found_.back().ordinal = ordinal_++;
        found_.back().series = index_;
        return;
    }
    if (newestFirst_) {
        std::reverse(found_.begin(), found_.end());
    }
    for (Found& found : found_) {
        found.isHit = matcher_.Matches(found.record);
        found.series = index_;
        found.ordinal = ordinal_++;
    }
    if (!options_.withContext) {
        found_.erase(std::remove_if(found_.begin(), found_.end(),
                                    [](const Found& found) { return !found.isHit; }),
                     found_.end());
    }
}

bool StoreStream::Next(Found& found) {
    while (given_ == found_.size()) {
        if (!NextPiece()) {
            return false;
        }
        TakePiece();
    }
    found = found_[given_++];
    return true;
}

}  // namespace NS_LOG_FLEET
