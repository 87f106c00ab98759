#include "command/storearchive.h"

#include <tuple>
#include <utility>

#include "ask/piecequery.h"
#include "ask/storestream.h"
#include "store/migration.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::LogFile;
using NS_LOG_READER::Matcher;
using NS_LOG_READER::Piece;
using NS_LOG_READER::Selection;
using NS_LOG_READER::Series;
using NS_LOG_READER::Verification;
using NS_LOG_READER::Verifier;

// What a look into the beginning of a file tells: when it was created, and its first number.
constexpr const char* kFilesQuery =
    "SELECT f.id, f.host, f.name, f.category, f.process, f.stored, f.size, f.lost, f.complete,"
    " (extract(epoch FROM t.time) * 1000000)::bigint, n.number"
    " FROM qv.file f"
    " LEFT JOIN LATERAL (SELECT r.time FROM qv.record r WHERE r.file = f.id"
    "  AND r.kind NOT IN ('torn', 'garbage', 'closed') ORDER BY r.byte_offset LIMIT 1) t ON true"
    " LEFT JOIN LATERAL (SELECT r.number FROM qv.record r WHERE r.file = f.id"
    "  AND r.number IS NOT NULL AND r.kind <> 'dumped' ORDER BY r.byte_offset LIMIT 1) n ON true"
    " WHERE f.stored > 0 OR f.size > 0"
    " ORDER BY f.host COLLATE \"C\", f.name COLLATE \"C\", f.id";

// Host, category and process.
using Place = std::tuple<std::string, std::string, int64_t>;

}  // namespace

StoreArchive::StoreArchive(const std::string& url) : url_(url), connection_(url) {
    DemandCurrentSchema(connection_);
    Begin();
}

void StoreArchive::Begin() {
    connection_.Run(kBeginOneMoment);
}

std::vector<Series> StoreArchive::FindSeries(const Selection& selection,
                                             std::vector<std::string>&) {
    const Rows rows = connection_.Run(kFilesQuery);
    std::map<Place, std::vector<LogFile>> places;
    for (int row = 0; row < rows.Count(); ++row) {
        LogFile file;
        file.id = rows.Number(row, 0);
        file.name.host = rows.Text(row, 1);
        file.name.path = rows.Text(row, 2);
        file.name.category = rows.Text(row, 3);
        file.name.process = rows.Number(row, 4);
        file.created = rows.Number(row, 9);
        file.firstNumber = static_cast<uint32_t>(rows.Number(row, 10));
        Knowledge& known = known_[file.id];
        known = {{},
                 static_cast<uint64_t>(rows.Number(row, 6)),
                 static_cast<uint64_t>(rows.Number(row, 7)),
                 rows.Flag(row, 8)};
        known.stored.Add({0, static_cast<uint64_t>(rows.Number(row, 5))});
        places[{file.name.host, file.name.category, file.name.process}].push_back(std::move(file));
    }
    FindRanges();
    std::vector<Series> all;
    for (auto& [key, files] : places) {
        const Series place = MakePlace(std::get<0>(key), std::get<1>(key), std::get<2>(key));
        if (selection.Wants(place)) {
            AddSeries(place, std::move(files), all);
        }
    }
    SortSeries(all);
    return all;
}

// An index may tell at once which few files are concerned.
void StoreArchive::Prepare(const Matcher& matcher) {
    conditions_.push_back(std::make_unique<Conditions>(matcher));
    candidates_.reset();
    const Conditions& conditions = *conditions_.back();
    if (!conditions.IsIndexed()) {
        return;
    }
    const Rows rows =
        connection_.Run("SELECT DISTINCT r.file FROM qv.record r WHERE " + conditions.Text(0),
                        conditions.Parameters());
    candidates_.emplace();
    for (int row = 0; row < rows.Count(); ++row) {
        candidates_->insert(rows.Number(row, 0));
    }
}

std::unique_ptr<NS_LOG_READER::RecordStream> StoreArchive::Open(
    const Series& series, size_t index, const Matcher& matcher,
    NS_LOG_READER::StreamOptions options, bool newestFirst,
    NS_LOG_READER::ProblemListener& problems) {
    std::vector<const LogFile*> files;
    for (const LogFile& file : series.files) {
        if (!candidates_ || candidates_->count(file.id) != 0) {
            files.push_back(&file);
        }
    }
    if (options.withContext && !files.empty()) {
        // What is around a hit may stand in the files beside.
        files.clear();
        for (const LogFile& file : series.files) {
            files.push_back(&file);
        }
    }
    return std::make_unique<StoreStream>(
        StoreStream::Source{connection_, *conditions_.back(), std::move(files)}, series, index,
        matcher, options, newestFirst, problems);
}

// What was stored behind gaps.
void StoreArchive::FindRanges() {
    const Rows rows = connection_.Run("SELECT file, first, behind FROM qv.range");
    for (int row = 0; row < rows.Count(); ++row) {
        known_[rows.Number(row, 0)].stored.Add({static_cast<uint64_t>(rows.Number(row, 1)),
                                                static_cast<uint64_t>(rows.Number(row, 2))});
    }
}

// The first row begins further behind. What was stored in front of it went with its days.
void StoreArchive::NoteBeginning(uint64_t behind, const Knowledge& known, Verifier& verifier) {
    ByteRanges never;
    for (const ByteRanges::Range& gap : known.stored.MissingIn({0, behind})) {
        verifier.Note(gap.first, std::to_string(gap.second - gap.first) + " bytes are not stored",
                      true);
        never.Add(gap);
    }
    for (const ByteRanges::Range& old : never.MissingIn({0, behind})) {
        verifier.Note(old.first,
                      std::to_string(old.second - old.first) + " bytes are not kept any more",
                      false);
    }
}

void StoreArchive::ReadPieces(const LogFile& file, Verifier& verifier) {
    const Knowledge& known = known_[file.id];
    PieceRange range;
    range.file = file.id;
    PieceQuery query(connection_, range, {});
    Piece piece;
    uint64_t end = 0;
    while (query.Next(piece)) {
        if (end == 0) {
            NoteBeginning(piece.offset, known, verifier);
        } else if (piece.offset > end) {
            verifier.Note(end, std::to_string(piece.offset - end) + " bytes are not stored", true);
        }
        verifier.Take(piece);
        end = piece.offset + piece.bytes.size();
    }
    if (end == 0 && known.lost == 0 && !known.stored.All().empty()) {
        NoteBeginning(known.size, known, verifier);
        return;
    }
    if (known.lost > 0) {
        verifier.Note(end, std::to_string(known.lost) + " bytes were gone before they were sent",
                      true);
    } else if (end < known.size) {
        verifier.Note(end, std::to_string(known.size - end) + " bytes are not stored yet",
                      known.isComplete);
    }
    verifier.EndFile(end, !known.isComplete);
}

Verification StoreArchive::Verify(const Series& series) {
    Verifier verifier;
    for (const LogFile& file : series.files) {
        verifier.BeginFile(file);
        ReadPieces(file, verifier);
    }
    return verifier.Result();
}

size_t StoreArchive::OrderAgain(const std::vector<const LogFile*>& files) {
    connection_.Run("COMMIT");
    int64_t ordered = 0;
    for (const LogFile* const file : files) {
        ordered += connection_
                       .Run("UPDATE qv.file SET again = now() WHERE id = $1 AND gone IS NULL",
                            {std::to_string(file->id)})
                       .Changed();
    }
    Begin();
    return static_cast<size_t>(ordered);
}

void StoreArchive::BeginFollowing() {
    follower_ = std::make_unique<StoreFollower>(url_, std::move(connection_));
}

bool StoreArchive::Wait() {
    return follower_->Wait();
}

void StoreArchive::TakeNew(const Matcher& matcher, NS_LOG_READER::ProblemListener& problems,
                           const Take& take) {
    follower_->TakeNew(matcher, problems, take);
}

namespace {

const bool kIsOpened = NS_LOG_READER::SetStoreOpener([](const std::string& url) {
    return std::unique_ptr<NS_LOG_READER::Store>(std::make_unique<StoreArchive>(url));
});

}  // namespace
}  // namespace NS_LOG_FLEET
