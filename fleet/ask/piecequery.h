// The pieces of a file, out of the store.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ask/conditions.h"
#include "format/record.h"
#include "store/connection.h"

namespace NS_LOG_FLEET {

// Begins a transaction that sees nothing that is stored later.
constexpr const char* kBeginOneMoment = "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";

// Which pieces of a file.
struct PieceRange {
    int64_t file = 0;
    uint64_t from = 0;
    std::optional<uint64_t> until;
    bool newestFirst = false;
};

// Reads them through a cursor, in the order of their offsets: a bounded number of rows at once, and
// large pieces one by one. Runs inside a transaction of the connection, beside others.
//
// Thread safety: none.
class PieceQuery {
  public:
    // Pieces that hold no record for which the conditions hold are left out. Throws StoreError.
    PieceQuery(Connection& connection, const PieceRange& range, const Conditions& conditions);
    ~PieceQuery();

    PieceQuery(const PieceQuery&) = delete;
    PieceQuery& operator=(const PieceQuery&) = delete;

    // The next piece, good until the next call. False: the end. Throws StoreError.
    bool Next(NS_LOG_READER::Piece& piece);

  private:
    void Fetch();
    std::string LargeBytes(uint64_t offset);

    Connection& connection_;
    const int64_t file_;
    const std::string cursor_;
    std::optional<Rows> rows_;
    int row_ = 0;
    std::string bytes_;
    bool isOpen_ = true;
};

}  // namespace NS_LOG_FLEET
