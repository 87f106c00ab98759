// Makes rows of the pieces of a file.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "format/record.h"
#include "store/copystream.h"

namespace NS_LOG_FLEET {

// The columns of qv.record, in the order in which PutRows fills them.
extern const char* const kRecordColumns;
constexpr int16_t kRecordColumnCount = 18;

// The day that the name of a log file tells, in days since 1970: pieces without a time are kept
// there. 0: it tells none.
int64_t DayOfName(const std::string& name);

// What is needed of a piece's file.
struct RowFile {
    int64_t id = 0;
    int64_t day = 0;  // as DayOfName tells
};

// The days of the piece's rows, for qv.make_day. Adds them to `days`.
void CollectDays(const NS_LOG_READER::Piece& piece, const RowFile& file, std::set<int64_t>& days);

// One row for the piece, and one for each record that it holds if it is a dump. Returns how many.
// Throws StoreError.
uint64_t PutRows(const NS_LOG_READER::Piece& piece, const RowFile& file, CopyStream& copy);

}  // namespace NS_LOG_FLEET
