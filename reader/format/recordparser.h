// Makes records of pieces.
#pragma once

#include <string_view>

#include "format/record.h"

namespace NS_LOG_READER {

// Parses a frame, a short record, or what is left of a torn one. False: nothing of a record can be
// told, or the piece is none. Leaves `origin` alone.
bool ParseRecord(const Piece& piece, Record& record);

// Parses a record that was kept back, of its own bytes as DumpedRecords gave them. Sets neither its
// number, its offset nor whether it is torn. False: it is none. Leaves `origin` alone.
bool ParseDumped(std::string_view bytes, Record& record);

// The records that were kept back and stand inside a dump, oldest first.
//
//     DumpedRecords inner(piece, dump);
//     while (inner.Next(record)) ...
class DumpedRecords {
  public:
    // `dump` was parsed from `piece`.
    DumpedRecords(const Piece& piece, const Record& dump);

    bool Next(Record& record);

    // What was not parsed so far.
    std::string_view Rest() const { return rest_; }

  private:
    std::string_view rest_;
    Record next_;            // the header at the beginning of `rest_`
    size_t nextDetail_ = 0;  // where its detail begins; 0: there is none
    uint64_t offset_ = 0;
    uint32_t number_ = 0;
    const LogFileName* origin_ = nullptr;
    bool torn_ = false;
};

}  // namespace NS_LOG_READER
