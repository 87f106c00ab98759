#include "store/recordstore.h"

#include <algorithm>

#include "input/series.h"
#include "store/migration.h"

namespace NS_LOG_FLEET {
namespace {

constexpr const char* kNoPartition = "23514";

// Somebody may remove days in between. A day that is not there then is detached, or has no table.
constexpr int kMostTimesToMakeDays = 2;

// A piece that is stored has been stored under a day between one before that of its file's name and
// this many behind it, as good as always. Each day that is looked at costs the server five locks.
constexpr int64_t kDaysOfAFile = 30;

// A file's row as StoredFile.
StoredFile ReadFile(const Rows& rows, int row) {
    StoredFile file;
    file.id = rows.Number(row, 0);
    file.name = rows.Text(row, 1);
    file.first = rows.Bytes(row, 2);
    file.stored = static_cast<uint64_t>(rows.Number(row, 3));
    file.size = static_cast<uint64_t>(rows.Number(row, 4));
    file.isComplete = rows.Flag(row, 5);
    file.isWantedAgain = rows.Flag(row, 6);
    return file;
}

constexpr const char* kFileColumns =
    "id, name, identity, stored, size, complete, again IS NOT NULL";

}  // namespace

const char* const kStoredChannel = "qv_stored";

RecordStore::RecordStore(const std::string& target) : connection_(target) {
    DemandCurrentSchema(connection_);
}

StoredFile RecordStore::FindFile(const FileIdentity& file) {
    const auto parts = NS_LOG_READER::ParseLogFileName(file.name);
    const std::vector<Parameter> parameters = {file.host, file.name, ByteaText(file.first),
                                               parts ? parts->category : "",
                                               std::to_string(parts ? parts->process : 0)};
    const Rows rows = connection_.Run(
        std::string(
            "INSERT INTO qv.file AS f (host, name, identity, category, process)"
            " VALUES ($1, $2, $3, $4, $5)"
            " ON CONFLICT (host, name, identity) DO UPDATE SET gone = NULL, lost = 0 RETURNING ") +
            kFileColumns,
        parameters);
    return ReadFile(rows, 0);
}

std::optional<StoredFile> RecordStore::LookUp(const FileIdentity& file) {
    const Rows rows =
        connection_.Run(std::string("SELECT ") + kFileColumns +
                            " FROM qv.file WHERE host = $1 AND name = $2 AND identity = $3",
                        {file.host, file.name, ByteaText(file.first)});
    return rows.Count() == 0 ? std::nullopt : std::optional<StoredFile>(ReadFile(rows, 0));
}

std::vector<StoredFile> RecordStore::FilesOf(const std::string& host) {
    const Rows rows = connection_.Run(
        std::string("SELECT ") + kFileColumns + " FROM qv.file WHERE host = $1 AND gone IS NULL",
        {host});
    std::vector<StoredFile> files;
    files.reserve(static_cast<size_t>(rows.Count()));
    for (int row = 0; row < rows.Count(); ++row) {
        files.push_back(ReadFile(rows, row));
    }
    return files;
}

uint64_t RecordStore::Store(const std::vector<Entry>& entries) {
    if (entries.empty()) {
        return 0;
    }
    // Nearly always the rows are new and their days are there. Straight into the table costs half
    // of what it costs to look for each row first.
    bool isFresh = true;
    for (int timesMade = 0;;) {
        try {
            return TryStore(entries, isFresh);
        } catch (const StoreError& error) {
            if (error.State() == kNoPartition && timesMade < kMostTimesToMakeDays) {
                MakeDays(entries);
                ++timesMade;
            } else if (error.IsDuplicate() && isFresh) {
                isFresh = false;
            } else {
                throw;
            }
        }
    }
}

uint64_t RecordStore::TryStore(const std::vector<Entry>& entries, bool isFresh) {
    Transaction transaction(connection_);
    uint64_t rows = 0;
    if (isFresh) {
        CopyStream copy(
            connection_,
            std::string("COPY qv.record (") + kRecordColumns + ") FROM STDIN (FORMAT binary)",
            kRecordColumnCount);
        rows = CopyRows(entries, copy);
        copy.Finish();
    } else {
        rows = CopyAndMerge(entries);
    }
    NoteStored(entries);
    connection_.Run(std::string("NOTIFY ") + kStoredChannel);
    transaction.Commit();
    return rows;
}

// Whether the piece is stored. False when it is stored under an unusual day: its chunks are put
// together once more then, and the key leaves it out.
bool RecordStore::HasPiece(const Chunk& chunk) {
    const Rows stored = connection_.Run(
        "SELECT EXISTS (SELECT FROM qv.record WHERE file = $1 AND byte_offset = $2"
        " AND day BETWEEN date '1970-01-01' + $3::integer AND date '1970-01-01' + $4::integer)",
        {std::to_string(chunk.file.id), std::to_string(chunk.pieceOffset),
         std::to_string(chunk.file.day - 1), std::to_string(chunk.file.day + kDaysOfAFile)});
    return stored.Flag(0, 0);
}

// The whole piece, when this chunk is the last one that was missing.
std::optional<FilePart> RecordStore::AddChunk(const Chunk& chunk) {
    const std::string file = std::to_string(chunk.file.id);
    const std::string piece = std::to_string(chunk.pieceOffset);
    Transaction transaction(connection_);
    // Of two that bring the last chunks at once, the second sees what the first has brought.
    connection_.Run("SELECT 1 FROM qv.file WHERE id = $1 FOR UPDATE", {file});
    if (HasPiece(chunk)) {
        connection_.Run("DELETE FROM qv.chunk WHERE file = $1 AND piece = $2", {file, piece});
        transaction.Commit();
        return std::nullopt;
    }
    connection_.Run("INSERT INTO qv.chunk VALUES ($1, $2, $3, $4) ON CONFLICT DO NOTHING",
                    {file, piece, std::to_string(chunk.offset), ByteaText(chunk.bytes)});
    const Rows size = connection_.Run(
        "SELECT coalesce(sum(length(bytes)), 0) FROM qv.chunk WHERE file = $1 AND piece = $2",
        {file, piece});
    std::optional<FilePart> whole;
    if (size.Number(0, 0) == chunk.piece.length) {
        const Rows bytes = connection_.Run(
            "SELECT string_agg(bytes, '' ORDER BY byte_offset)"
            " FROM qv.chunk WHERE file = $1 AND piece = $2",
            {file, piece});
        whole.emplace();
        whole->offset = chunk.pieceOffset;
        whole->bytes = bytes.Bytes(0, 0);
        whole->slices.push_back(chunk.piece);
    }
    transaction.Commit();
    return whole;
}

uint64_t RecordStore::StoreChunk(const Chunk& chunk) {
    const std::optional<FilePart> whole = AddChunk(chunk);
    if (!whole) {
        return 0;
    }
    const uint64_t rows = Store({{chunk.file, &*whole}});
    connection_.Run("DELETE FROM qv.chunk WHERE file = $1 AND piece = $2",
                    {std::to_string(chunk.file.id), std::to_string(chunk.pieceOffset)});
    return rows;
}

uint64_t RecordStore::CopyRows(const std::vector<Entry>& entries, CopyStream& copy) const {
    uint64_t rows = 0;
    for (const Entry& entry : entries) {
        entry.part->ForEach(
            [&](const NS_LOG_READER::Piece& piece) { rows += PutRows(piece, entry.file, copy); });
    }
    return rows;
}

uint64_t RecordStore::CopyAndMerge(const std::vector<Entry>& entries) {
    connection_.Run(
        "CREATE TEMPORARY TABLE IF NOT EXISTS qv_incoming (LIKE qv.record)"
        " ON COMMIT DELETE ROWS");
    CopyStream copy(
        connection_,
        std::string("COPY qv_incoming (") + kRecordColumns + ") FROM STDIN (FORMAT binary)",
        kRecordColumnCount);
    CopyRows(entries, copy);
    copy.Finish();
    // In one order, so that two that store the same rows wait for each other and never in a circle.
    const Rows inserted = connection_.Run(std::string("INSERT INTO qv.record (") + kRecordColumns +
                                          ") SELECT " + kRecordColumns +
                                          " FROM qv_incoming ORDER BY file, byte_offset"
                                          " ON CONFLICT DO NOTHING");
    return static_cast<uint64_t>(inserted.Changed());
}

void RecordStore::NoteStored(std::vector<Entry> entries) {
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return a.file.id != b.file.id ? a.file.id < b.file.id : a.part->offset < b.part->offset;
    });
    // Parts that follow each other are one: each call waits for the server.
    for (size_t i = 0; i < entries.size();) {
        const Entry& first = entries[i];
        uint64_t end = first.part->offset;
        bool isClosing = false;
        for (; i < entries.size() && entries[i].file.id == first.file.id &&
               entries[i].part->offset <= end;
             ++i) {
            end = std::max(end, entries[i].part->End());
            isClosing = isClosing || entries[i].part->IsClosing();
        }
        connection_.Run("SELECT qv.note_stored($1, $2, $3, $4)",
                        {std::to_string(first.file.id), std::to_string(first.part->offset),
                         std::to_string(end), isClosing ? "true" : "false"});
    }
}

void RecordStore::MakeDays(const std::vector<Entry>& entries) {
    std::set<int64_t> days;
    for (const Entry& entry : entries) {
        entry.part->ForEach(
            [&](const NS_LOG_READER::Piece& piece) { CollectDays(piece, entry.file, days); });
    }
    for (const int64_t day : days) {
        connection_.Run("SELECT qv.make_day(date '1970-01-01' + $1::integer)",
                        {std::to_string(day)});
    }
}

void RecordStore::NoteGone(int64_t file, uint64_t lost) {
    connection_.Run("UPDATE qv.file SET gone = now(), lost = $2 WHERE id = $1",
                    {std::to_string(file), std::to_string(lost)});
}

void RecordStore::NoteComplete(int64_t file, uint64_t size) {
    connection_.Run("UPDATE qv.file SET complete = true, size = $2 WHERE id = $1",
                    {std::to_string(file), std::to_string(size)});
}

void RecordStore::NoteSentAgain(int64_t file) {
    connection_.Run("UPDATE qv.file SET again = NULL WHERE id = $1", {std::to_string(file)});
}

// Another machine's clock may be ahead: nothing is seen later than now, or it would be taken for
// the newest until then.
void RecordStore::NoteHost(const HostState& state, std::optional<int64_t> seen) {
    const Parameter time = seen ? Parameter(std::to_string(*seen)) : std::nullopt;
    connection_.Run(
        "INSERT INTO qv.host AS known VALUES ($1,"
        " least(now(), timestamptz 'epoch' + $5::bigint * interval '1 microsecond'), $2, $3, $4)"
        " ON CONFLICT (host) DO UPDATE"
        " SET seen = excluded.seen, backlog = excluded.backlog,"
        " files = excluded.files, problem = excluded.problem"
        " WHERE $5::bigint IS NULL OR known.seen <= excluded.seen",
        {state.host, std::to_string(state.backlog), std::to_string(state.files), state.problem,
         time});
}

}  // namespace NS_LOG_FLEET
