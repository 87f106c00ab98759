#include "ask/piecequery.h"

#include <atomic>
#include <charconv>

#include "format/framing.h"

namespace NS_LOG_FLEET {
namespace {

using NS_LOG_READER::Piece;
using NS_LOG_READER::PieceKind;

constexpr int kRowsAtOnce = 256;

std::string NextCursorName() {
    static std::atomic<uint64_t> last{0};
    return "piece_" + std::to_string(++last);
}

// What PutRows made its row of.
PieceKind KindOf(std::string_view label, bool isTorn) {
    if (isTorn) {
        return PieceKind::Torn;
    }
    return label == "short"     ? PieceKind::Short
           : label == "created" ? PieceKind::Created
           : label == "closed"  ? PieceKind::Closed
           : label == "garbage" ? PieceKind::Garbage
                                : PieceKind::Frame;
}

uint32_t NumberOf(std::string_view bytes) {
    std::string_view digits;
    uint32_t number = 0;
    if (NS_LOG_READER::OpeningTagLength(bytes, digits) != 0) {
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
    }
    return number;
}

// So many pieces are asked for one by one; of more, all of the file's rows are looked through.
constexpr int kMostSinglePieces = 1000;

// The pieces of the file that hold what the conditions want, as an array's text. No value: they are
// many. Asked for by itself, because the server's choice between the two ways would be a guess.
std::optional<std::string> FindPieces(Connection& connection, int64_t file,
                                      const Conditions& conditions) {
    std::vector<Parameter> parameters = {std::to_string(file)};
    parameters.insert(parameters.end(), conditions.Parameters().begin(),
                      conditions.Parameters().end());
    const Rows rows = connection.Run(
        "SELECT DISTINCT coalesce(r.dump_offset, r.byte_offset) FROM qv.record r"
        " WHERE r.file = $1 AND " +
            conditions.Text(1) + " LIMIT " + std::to_string(kMostSinglePieces + 1),
        parameters);
    if (rows.Count() > kMostSinglePieces) {
        return std::nullopt;
    }
    std::string array = "{";
    for (int row = 0; row < rows.Count(); ++row) {
        array.append(row == 0 ? "" : ",").append(rows.Text(row, 0));
    }
    return array + "}";
}

// The statement that a cursor is declared for.
struct Statement {
    Statement(Connection& connection, const PieceRange& range, const Conditions& conditions) {
        Add(" WHERE r.file = ?", std::to_string(range.file));
        Add(" AND r.byte_offset >= ?", std::to_string(range.from));
        if (range.until) {
            Add(" AND r.byte_offset < ?", std::to_string(*range.until));
        }
        std::optional<std::string> pieces;
        if (conditions.IsIndexed()) {
            pieces = FindPieces(connection, range.file, conditions);
        }
        if (pieces) {
            Add(" AND r.byte_offset = ANY (?::bigint[])", *pieces);
        } else if (!conditions.IsEmpty()) {
            // What stands in a dump is seen when the dump is taken apart.
            text += " AND (r.kind = 'dump' OR (" + conditions.Text(parameters.size()) + "))";
            parameters.insert(parameters.end(), conditions.Parameters().begin(),
                              conditions.Parameters().end());
        }
        text += " AND r.kind <> 'dumped' ORDER BY r.byte_offset";
        text += range.newestFirst ? " DESC" : "";
    }

    // '?' stands for the value.
    void Add(const std::string& condition, const std::string& value) {
        parameters.emplace_back(value);
        const size_t place = condition.find('?');
        text += condition.substr(0, place) + "$" + std::to_string(parameters.size()) +
                condition.substr(place + 1);
    }

    std::string text =
        "SELECT r.byte_offset, r.kind, r.torn,"
        " CASE WHEN octet_length(r.bytes) <= 65536 THEN r.bytes END FROM qv.record r";
    std::vector<Parameter> parameters;
};

}  // namespace

PieceQuery::PieceQuery(Connection& connection, const PieceRange& range,
                       const Conditions& conditions)
    : connection_(connection), file_(range.file), cursor_(NextCursorName()) {
    const Statement statement(connection, range, conditions);
    connection_.Run("DECLARE " + cursor_ + " NO SCROLL CURSOR FOR " + statement.text,
                    statement.parameters);
}

PieceQuery::~PieceQuery() {
    if (isOpen_) {
        PQclear(PQexec(connection_.Raw(), ("CLOSE " + cursor_).c_str()));
    }
}

void PieceQuery::Fetch() {
    rows_.reset();
    rows_.emplace(connection_.Run("FETCH " + std::to_string(kRowsAtOnce) + " FROM " + cursor_));
    row_ = 0;
}

std::string PieceQuery::LargeBytes(uint64_t offset) {
    const Rows rows = connection_.Run(
        "SELECT bytes FROM qv.record WHERE file = $1 AND byte_offset = $2 AND kind <> 'dumped'",
        {std::to_string(file_), std::to_string(offset)});
    return rows.Count() > 0 ? rows.Bytes(0, 0) : std::string();
}

bool PieceQuery::Next(Piece& piece) {
    if (!rows_ || row_ == rows_->Count()) {
        Fetch();
    }
    if (rows_->Count() == 0) {
        return false;
    }
    piece.offset = static_cast<uint64_t>(rows_->Number(row_, 0));
    bytes_ = rows_->IsNull(row_, 3) ? LargeBytes(piece.offset) : rows_->Bytes(row_, 3);
    piece.kind = KindOf(rows_->Text(row_, 1), rows_->Flag(row_, 2));
    piece.bytes = bytes_;
    piece.number = NumberOf(bytes_);
    piece.mayMatch = true;
    ++row_;
    return true;
}

}  // namespace NS_LOG_FLEET
