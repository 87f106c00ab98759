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

std::string Statement(const PieceRange& range, const Conditions& conditions,
                      const std::string& cursor) {
    std::string text = "DECLARE " + cursor +
                       " NO SCROLL CURSOR FOR"
                       " SELECT p.byte_offset, p.kind, p.torn,"
                       " CASE WHEN octet_length(p.bytes) <= 65536 THEN p.bytes END"
                       " FROM qv.record p WHERE p.file = $1 AND p.kind <> 'dumped'"
                       " AND p.byte_offset >= $2";
    size_t parameters = 2;
    if (range.until) {
        text += " AND p.byte_offset < $3";
        ++parameters;
    }
    if (!conditions.IsEmpty()) {
        text +=
            " AND p.byte_offset IN (SELECT coalesce(r.dump_offset, r.byte_offset)"
            " FROM qv.record r WHERE r.file = $1 AND " +
            conditions.Text(parameters) + ")";
    }
    return text + " ORDER BY p.byte_offset" + (range.newestFirst ? " DESC" : "");
}

}  // namespace

PieceQuery::PieceQuery(Connection& connection, const PieceRange& range,
                       const Conditions& conditions)
    : connection_(connection), file_(range.file), cursor_(NextCursorName()) {
    std::vector<Parameter> parameters = {std::to_string(range.file), std::to_string(range.from)};
    if (range.until) {
        parameters.emplace_back(std::to_string(*range.until));
    }
    parameters.insert(parameters.end(), conditions.Parameters().begin(),
                      conditions.Parameters().end());
    connection_.Run(Statement(range, conditions, cursor_), parameters);
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
